// Opening a pipe of the service.
#pragma once

#include <string>

#include "client/deadline.h"
#include "client/message_pipe.h"
#include "client/result.h"
#include "service/shared_names.h"

namespace orva_accelerator::client {

// How to find the service. Tests put their own names here.
struct Endpoint {
  std::wstring pipeName;
  // Refuse a pipe that is not served by the process of `serviceName`.
  bool verifyServer = true;
  std::wstring serviceName = service::kServiceName;
};

// Opens the pipe for overlapped reading and writing in message mode. The service may look at who
// the caller is, but never act in its name: the pipe is opened at the anonymous level.
//
// Between two instances of its pipe the service is away for a moment, and a starting service is not
// there yet: error 2 (no such pipe) and error 231 (all instances busy) are tried again until the
// deadline, which then makes them NoService and Timeout. There is always at least one try. `step`
// names the operation in an error.
Result<MessagePipe> OpenPipe(const Endpoint& endpoint, const Deadline& deadline, const char* step);

}  // namespace orva_accelerator::client
