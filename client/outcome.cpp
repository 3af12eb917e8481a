#include "client/outcome.h"

#include <utility>

namespace orva_accelerator::client {
namespace {

constexpr char kStep[] = "get the outcome";

bool settles(const orva_notification& notification, Awaited awaited) {
  switch (awaited) {
    case Awaited::Login:
      return notification.login != nullptr;
    case Awaited::Start:
      return notification.accel != nullptr &&
             (notification.accel->accelerating != 0 || notification.accel->ended != 0);
    case Awaited::Stop:
      return notification.stop != nullptr;
  }
  return false;
}

Error neverCame() {
  return Error{ErrorKind::Timeout, kStep, 0,
               "the service announced nothing in time; the library may have refused"};
}

}  // namespace

Result<ListeningClient> connectListening(const Endpoint& request, const Endpoint& push,
                                         std::uint32_t clientId, const Deadline& deadline,
                                         std::chrono::milliseconds requestTimeout,
                                         HANDLE interrupt) {
  auto registered = PushChannel::registerPush(push, clientId, deadline, interrupt);
  if (!registered) return registered.error();
  auto channel = RequestChannel::open(request, deadline, interrupt);
  if (!channel) return channel.error();
  ServiceClient service(std::move(channel.value()), clientId, requestTimeout);
  auto heartbeat = service.heartbeat();
  if (!heartbeat) return heartbeat.error();
  return ListeningClient{std::move(registered.value()), std::move(service)};
}

Result<Notification> awaitOutcome(PushChannel& push, Awaited awaited, const Deadline& deadline,
                                  HANDLE interrupt, const Progress& progress) {
  for (;;) {
    auto next = push.next(deadline, interrupt);
    if (!next) return next.error().kind == ErrorKind::Timeout ? neverCame() : next.error();
    const orva_notification& notification = *next.value();
    if (notification.client_id == push.clientId() && settles(notification, awaited)) return next;
    if (progress) progress(notification);
    // Next gives what is there before it looks at these, and others may never stop announcing.
    if (interrupt != nullptr && WaitForSingleObject(interrupt, 0) == WAIT_OBJECT_0) {
      return waitEnded(kStep, ErrorKind::Interrupted);
    }
    if (deadline.passed()) return neverCame();
  }
}

}  // namespace orva_accelerator::client
