// Starting and stopping the service, and waiting until it has happened.
//
// Every function asks the manager for no more than the rights of an ordinary signed-in user: to
// start, to stop, to query the status. None needs elevation.
//
// The manager's word is not taken for the life of the service: a service whose process has died may
// keep its last state, and the ordinary end of this service is a process that ends without
// reporting anything. So a running service is one that is reported as running and whose process is
// there, and a stopped one is one without a process.
#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>

#include "client/deadline.h"
#include "client/result.h"

namespace orva_accelerator::client {

struct ServiceStarted {
  std::uint32_t processId = 0;
  bool wasRunning = false;  // Nothing had to be done.
};

struct ServiceStopped {
  bool wasRunning = false;
  // Of the process that ended; nothing when there was none or the system does not tell. A stop ends
  // the service's process with 3, and that is no failure.
  std::optional<std::uint32_t> exitCode;
};

// For all: `interrupt`, if not null, is a borrowed event that ends the waiting early with
// ErrorKind::Interrupted. See ServiceError for the other errors. There is always at least one try.

// Starts the service unless it runs, and waits until it does. A service that is just stopping is
// waited for and then started. The manager itself waits up to 30 seconds for a new process to
// report, and that single call cannot be cut short by the deadline.
Result<ServiceStarted> startAndWait(const std::wstring& serviceName, const Deadline& deadline,
                                    HANDLE interrupt = nullptr);

// Stops the service if it runs, and waits until its process has ended.
Result<ServiceStopped> stopAndWait(const std::wstring& serviceName, const Deadline& deadline,
                                   HANDLE interrupt = nullptr);

// Only wait, for somebody else to start or to stop it.
Result<ServiceStarted> waitUntilRunning(const std::wstring& serviceName, const Deadline& deadline,
                                        HANDLE interrupt = nullptr);
Result<ServiceStopped> waitUntilEnded(const std::wstring& serviceName, const Deadline& deadline,
                                      HANDLE interrupt = nullptr);

}  // namespace orva_accelerator::client
