// The callables that turn the library's asynchronous results into notifications.
//
// Request handlers create them and hand them to the binding, which keeps them until the library
// calls back, on a thread of its choosing. Each captures the id of the client that made the
// request; the notification carries that id and goes to every push client.
#pragma once

#include <cstdint>
#include <string>

#include "ipc/wire/notifications.h"
#include "sdk/accel_result.h"

namespace orva_accelerator::ipc {

class AccelerationOwnership;
class PipeServer;

// Results of a start. Settles who owns the acceleration, then sends the result as `type`. Reaches
// the server through currentPipeServer and does nothing when none was ever started. Never throws:
// a notification that cannot be built is lost, and the library's thread is not unwound by it.
class AccelResultNotifier {
 public:
  AccelResultNotifier(std::uint32_t clientId, NotificationType type)
      : clientId_(clientId), type_(type) {}
  void operator()(const sdk::SAccelResult& result) const;

 private:
  std::uint32_t clientId_;
  NotificationType type_;
};

// The outcome of a stop that a client asked for. Whatever the code, nobody owns the acceleration
// any more. Must not outlive the server.
class StopResultNotifier {
 public:
  StopResultNotifier(PipeServer& server, std::uint32_t clientId)
      : server_(&server), clientId_(clientId) {}
  void operator()(int code, const std::wstring& message) const;

 private:
  PipeServer* server_;
  std::uint32_t clientId_;
};

// The outcome of a login. Must not outlive the server.
class LoginResultNotifier {
 public:
  LoginResultNotifier(PipeServer& server, std::uint32_t clientId)
      : server_(&server), clientId_(clientId) {}
  void operator()(int code, const std::wstring& message) const;

 private:
  PipeServer* server_;
  std::uint32_t clientId_;
};

// The outcome of a stop that the service issued by itself: nobody asked, so nobody is told.
class IgnoreStopResult {
 public:
  void operator()(int /*code*/, const std::wstring& /*message*/) const {}
};

// Such a stop. Whether or not the library accepts it, nobody owns the acceleration any more.
void stopAccelUnasked(AccelerationOwnership& ownership);

}  // namespace orva_accelerator::ipc
