// Who is at the other end of a pipe?
//
// Any process may create a pipe of the service's name while the service is not running, and would
// be told the credentials of the next login. Clients therefore compare the process that serves the
// pipe with the one that the service control manager runs for the service, before the first byte.
//
// A pipe keeps the id of the process that created it after that process has gone, so somebody could
// prepare a pipe whose id the service gets later. The pipe also keeps the session of its creator,
// and nobody but a service gets into that of the services.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

#include "client/result.h"

namespace orva_accelerator::client {

// What the manager says of the service.
struct ServiceProcess {
  std::uint32_t id = 0;   // 0: there is none.
  bool starting = false;  // It has no pipe yet, and maybe no process.
};

// NotInstalled when there is no such service. Needs no rights beyond those of every signed-in user.
Result<ServiceProcess> findServiceProcess(const std::wstring& serviceName);

// NotTheService unless `pipe` (borrowed) was created by process `serviceProcess` in the session of
// the services. Ask findServiceProcess before the pipe is opened and again after this: a process
// that was the service's all the while has not taken the id over from somebody else.
Result<Done> checkServer(HANDLE pipe, std::uint32_t serviceProcess);

}  // namespace orva_accelerator::client
