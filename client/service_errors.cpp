#include "client/service_errors.h"

#include <windows.h>

#include <algorithm>
#include <iterator>

namespace orva_accelerator::client {
namespace {

struct Meaning {
  std::uint32_t code;
  ErrorKind kind;
  const char* text;
};

constexpr Meaning kMeanings[] = {
    {ERROR_FILE_NOT_FOUND, ErrorKind::System,
     "the registered executable is not there; install the service again"},
    {ERROR_PATH_NOT_FOUND, ErrorKind::System,
     "the folder of the registered executable is not there; install the service again"},
    {ERROR_ACCESS_DENIED, ErrorKind::Refused,
     "access is denied: this account may not do that with the service, or the service's security "
     "was changed; an administrator repairs it with \"OrvaAcceleratorService.exe install\""},
    {ERROR_BAD_EXE_FORMAT, ErrorKind::System,
     "the registered executable is damaged or not made for this Windows"},
    {ERROR_SERVICE_REQUEST_TIMEOUT, ErrorKind::Timeout,
     "the registered executable did not report to the system in time; it hangs, or it is not the "
     "service"},
    {ERROR_SERVICE_ALREADY_RUNNING, ErrorKind::Refused, "the service is running already"},
    {ERROR_SERVICE_DISABLED, ErrorKind::Refused,
     "the service is disabled; an administrator enables it with \"sc config "
     "OrvaAcceleratorService start= demand\""},
    {ERROR_SERVICE_DOES_NOT_EXIST, ErrorKind::NotInstalled,
     "the service is not installed; an administrator installs it with "
     "\"OrvaAcceleratorService.exe install\""},
    {ERROR_SERVICE_CANNOT_ACCEPT_CTRL, ErrorKind::Refused,
     "the service is just starting or stopping and takes no requests; try again in a moment"},
    {ERROR_SERVICE_NOT_ACTIVE, ErrorKind::NotRunning, "the service is not running"},
    {ERROR_PROCESS_ABORTED, ErrorKind::System, "the service's process ended unexpectedly"},
    {ERROR_SERVICE_LOGON_FAILED, ErrorKind::System,
     "the account that the service is registered for cannot log on; install the service again"},
    {ERROR_SERVICE_MARKED_FOR_DELETE, ErrorKind::Refused,
     "the service is being deleted; it goes when it has stopped and every program that shows it "
     "(Services, Task Manager) is closed"},
};

}  // namespace

Error serviceError(const char* step, std::uint32_t code) {
  const auto* known = std::ranges::find_if(
      kMeanings, [code](const Meaning& meaning) { return meaning.code == code; });
  if (known != std::end(kMeanings)) return Error{known->kind, step, code, known->text};
  return Error{ErrorKind::System, step, code, "the service control manager refused"};
}

}  // namespace orva_accelerator::client
