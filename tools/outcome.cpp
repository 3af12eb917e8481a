#include "tools/outcome.h"

#include <string>
#include <utility>

#include "tools/interrupt.h"
#include "tools/notification_view.h"

namespace orva_accelerator::tools {
namespace {

constexpr char kStep[] = "get the outcome";

bool settles(const orva_notification& notification) {
  const orva_accel_result* start = notification.accel;
  return start == nullptr || start->accelerating != 0 || start->ended != 0;
}

client::Error notDone(const char* what, std::int64_t number) {
  return client::Error{client::ErrorKind::Refused, kStep, 0,
                       std::string(what) + " " + std::to_string(number)};
}

client::Result<client::Done> judge(const orva_notification& notification) {
  if (notification.accel != nullptr && notification.accel->ended != 0) {
    return notDone("the acceleration ended with state", notification.accel->state);
  }
  if (notification.stop != nullptr && notification.stop->success == 0) {
    return notDone("the library could not stop: code", notification.stop->code);
  }
  if (notification.login != nullptr && notification.login->success == 0) {
    return notDone("the login failed with code", notification.login->code);
  }
  return client::Done{};
}

client::Error neverCame(const client::Error& timeout) {
  return client::Error{client::ErrorKind::Timeout, kStep, timeout.win32Code,
                       "the service announced nothing in time; the library may have refused"};
}

}  // namespace

void printNotification(Context& context, const orva_notification& notification) {
  const std::uint32_t own = context.options.clientId;
  if (context.options.json) {
    context.printJson(notificationJson(notification, own));
  } else {
    context.console.out(notificationText(notification, own) + "\n");
  }
}

client::Result<client::Done> awaitOutcome(Context& context, client::PushChannel& push,
                                          std::uint32_t type) {
  const auto deadline = client::Deadline::after(context.options.waitTimeout);
  const HANDLE interrupt = interruptEvent();
  for (;;) {
    auto next = push.next(deadline, interrupt);
    if (!next) {
      const bool late = next.error().kind == client::ErrorKind::Timeout;
      return late ? neverCame(next.error()) : next.error();
    }
    const orva_notification& notification = *next.value();
    if (notification.client_id != context.options.clientId) continue;
    printNotification(context, notification);
    if (notification.type == type && settles(notification)) return judge(notification);
    if (interrupted(interrupt)) {
      return client::Error{client::ErrorKind::Interrupted, kStep, 0, "interrupted"};
    }
  }
}

client::Result<ListeningClient> connectListening(Context& context) {
  auto push = context.registerPush();
  if (!push) return push.error();
  auto service = context.connect();
  if (!service) return service.error();
  auto heartbeat = service.value().heartbeat();
  if (!heartbeat) return heartbeat.error();
  return ListeningClient{std::move(push.value()), std::move(service.value())};
}

int sendAndAwait(Context& context, bool wait, std::uint32_t type, const char* command,
                 const char* taken, const Send& send) {
  const auto report = [&] {
    if (context.options.json) context.print(command, Json{{"taken", true}});
    context.say(taken);
  };
  if (!wait) {
    auto service = context.connect();
    if (!service) return context.fail(service.error());
    auto sent = send(service.value());
    if (!sent) return context.fail(sent.error());
    report();
    return ExitOk;
  }
  auto listening = connectListening(context);
  if (!listening) return context.fail(listening.error());
  auto sent = send(listening.value().service);
  if (!sent) return context.fail(sent.error());
  report();
  auto outcome = awaitOutcome(context, listening.value().push, type);
  if (!outcome) return context.fail(outcome.error());
  return ExitOk;
}

}  // namespace orva_accelerator::tools
