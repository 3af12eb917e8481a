#include "bench/client/service_start.h"

#include <windows.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "bench/client/pipe_client.h"
#include "bench/client/rounds.h"
#include "ipc/wire/message_types.h"
#include "ipc/wire/pipe_names.h"
#include "win32/unique_handle.h"

namespace orva_accelerator::bench {

namespace {

constexpr double kStartTimeoutUs = 30e6;

DWORD stateOf(SC_HANDLE service) {
  SERVICE_STATUS status = {};
  if (!QueryServiceStatus(service, &status)) failCall("QueryServiceStatus", GetLastError());
  return status.dwCurrentState;
}

}  // namespace

void measureServiceStart(const std::wstring& name, const std::string& folder) {
  const win32::UniqueServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
  if (!manager) failCall("OpenSCManagerW", GetLastError());
  const win32::UniqueServiceHandle service(
      OpenServiceW(manager.get(), name.c_str(), SERVICE_START | SERVICE_QUERY_STATUS));
  if (!service) failCall("OpenServiceW", GetLastError());
  const Stopwatch start;
  if (!StartServiceW(service.get(), 0, nullptr)) failCall("StartServiceW", GetLastError());
  while (stateOf(service.get()) != SERVICE_RUNNING) {
    if (start.elapsedUs() > kStartTimeoutUs) throw std::runtime_error("the service does not run");
    Sleep(1);
  }
  const double runningMs = start.elapsedUs() / 1000;
  RequestPipe pipe(ipc::kRequestPipeName);
  pipe.send(ipc::MsgHeartbeat, {});
  (void)pipe.receive();  // Its content is known.
  const double answeredMs = start.elapsedUs() / 1000;
  std::ofstream file(folder + "/start.json", std::ios::trunc);
  file << nlohmann::ordered_json{{"runningMs", runningMs}, {"firstAnswerMs", answeredMs}}.dump()
       << "\n";
  file.close();
  if (!file) throw std::runtime_error("cannot write start.json");
}

}  // namespace orva_accelerator::bench
