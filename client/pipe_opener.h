// Opening a pipe of the service.
#pragma once

#include <windows.h>

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
  // Start the service if it does not run, and wait for it. Needs `verifyServer`.
  bool startService = false;
};

// Opens the pipe for overlapped reading and writing in message mode. The service may look at who
// the caller is, but never act in its name: the pipe is opened at the anonymous level.
//
// Tried again until the deadline, at least once, while the service is starting or between two
// instances of its pipe (error 2), all instances are busy (error 231), or the instance that was
// reached is not the service's; what stood in the way at the end is the error. With `verifyServer`
// the service control manager is asked first, so NotInstalled and NotRunning are known at once.
// `interrupt`, if not null, is a borrowed event that ends the waiting early. `step` names the
// operation in an error.
Result<MessagePipe> openPipe(const Endpoint& endpoint, const Deadline& deadline, const char* step,
                             HANDLE interrupt = nullptr);

}  // namespace orva_accelerator::client
