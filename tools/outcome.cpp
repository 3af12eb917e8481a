#include "tools/outcome.h"

#include <string>
#include <utility>

#include "tools/interrupt.h"
#include "tools/notification_view.h"

namespace orva_accelerator::tools {
namespace {

constexpr char kStep[] = "get the outcome";

bool Settles(const orva_notification& notification) {
  const orva_accel_result* start = notification.accel;
  return start == nullptr || start->accelerating != 0 || start->ended != 0;
}

client::Error NotDone(const char* what, std::int64_t number) {
  return client::Error{client::ErrorKind::Refused, kStep, 0,
                       std::string(what) + " " + std::to_string(number)};
}

client::Result<client::Done> Judge(const orva_notification& notification) {
  if (notification.accel != nullptr && notification.accel->ended != 0) {
    return NotDone("the acceleration ended with state", notification.accel->state);
  }
  if (notification.stop != nullptr && notification.stop->success == 0) {
    return NotDone("the library could not stop: code", notification.stop->code);
  }
  if (notification.login != nullptr && notification.login->success == 0) {
    return NotDone("the login failed with code", notification.login->code);
  }
  return client::Done{};
}

client::Error NeverCame(const client::Error& timeout) {
  return client::Error{client::ErrorKind::Timeout, kStep, timeout.win32Code,
                       "the service announced nothing in time; the library may have refused"};
}

}  // namespace

void PrintNotification(Context& context, const orva_notification& notification) {
  const std::uint32_t own = context.options.clientId;
  context.console.Out((context.options.json ? OneLine(NotificationJson(notification, own))
                                            : NotificationText(notification, own)) +
                      "\n");
}

client::Result<client::Done> AwaitOutcome(Context& context, client::PushChannel& push,
                                          std::uint32_t type) {
  const auto deadline = client::Deadline::After(context.options.waitTimeout);
  const HANDLE interrupt = InterruptEvent();
  for (;;) {
    auto next = push.Next(deadline, interrupt);
    if (!next) {
      const bool late = next.error().kind == client::ErrorKind::Timeout;
      return late ? NeverCame(next.error()) : next.error();
    }
    const orva_notification& notification = *next.value();
    if (notification.client_id != context.options.clientId) continue;
    PrintNotification(context, notification);
    if (notification.type == type && Settles(notification)) return Judge(notification);
    if (Interrupted(interrupt)) {
      return client::Error{client::ErrorKind::Interrupted, kStep, 0, "interrupted"};
    }
  }
}

client::Result<ListeningClient> ConnectListening(Context& context) {
  auto push = context.Register();
  if (!push) return push.error();
  auto service = context.Connect();
  if (!service) return service.error();
  auto heartbeat = service.value().Heartbeat();
  if (!heartbeat) return heartbeat.error();
  return ListeningClient{std::move(push.value()), std::move(service.value())};
}

int SendAndAwait(Context& context, bool wait, std::uint32_t type, const char* command,
                 const char* taken, const Send& send) {
  const auto report = [&] {
    if (context.options.json) context.Print(command, Json{{"taken", true}});
    context.Say(taken);
  };
  if (!wait) {
    auto service = context.Connect();
    if (!service) return context.Fail(service.error());
    auto sent = send(service.value());
    if (!sent) return context.Fail(sent.error());
    report();
    return kExitOk;
  }
  auto listening = ConnectListening(context);
  if (!listening) return context.Fail(listening.error());
  auto sent = send(listening.value().service);
  if (!sent) return context.Fail(sent.error());
  report();
  auto outcome = AwaitOutcome(context, listening.value().push, type);
  if (!outcome) return context.Fail(outcome.error());
  return kExitOk;
}

}  // namespace orva_accelerator::tools
