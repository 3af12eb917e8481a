// Who is at the other end of a pipe?
//
// Any process may create a pipe of the service's name while the service is not running, and would
// be told the credentials of the next login. Clients therefore compare the process that serves the
// pipe with the one that the service control manager runs for the service, before the first byte.
#pragma once

#include <windows.h>

#include "client/result.h"

namespace orva_accelerator::client {

// NoService when the service is not registered, not running, or runs as another process than the
// one that serves `pipe` (borrowed). Needs no rights beyond those of every signed-in user.
Result<Done> CheckServedByService(HANDLE pipe, const wchar_t* serviceName);

}  // namespace orva_accelerator::client
