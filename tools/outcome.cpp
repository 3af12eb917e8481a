#include "tools/outcome.h"

#include <string>
#include <utility>

#include "tools/interrupt.h"
#include "tools/notification_view.h"

namespace orva_accelerator::tools {
namespace {

constexpr char kStep[] = "get the outcome";

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

}  // namespace

void printNotification(Context& context, const orva_notification& notification) {
  const std::uint32_t own = context.options.clientId;
  if (context.options.json) {
    context.printJson(notificationJson(notification, own));
  } else {
    context.console.out(notificationText(notification, own) + "\n");
  }
}

client::Result<client::Done> takenStart(const client::Result<bool>& accepted) {
  if (!accepted) return accepted.error();
  if (accepted.value()) return client::Done{};
  return client::Error{client::ErrorKind::Refused, "start the acceleration", 0,
                       "the library refused, or a start of another client is under way"};
}

client::Result<client::Done> awaitAndPrint(Context& context, client::PushChannel& push,
                                           client::Awaited awaited) {
  const auto printOwn = [&](const orva_notification& notification) {
    if (notification.client_id == push.clientId()) printNotification(context, notification);
  };
  const auto deadline = client::Deadline::after(context.options.waitTimeout);
  auto outcome = client::awaitOutcome(push, awaited, deadline, interruptEvent(), printOwn);
  if (!outcome) return outcome.error();
  printNotification(context, *outcome.value());
  return judge(*outcome.value());
}

int sendAndAwait(Context& context, bool wait, client::Awaited awaited, const char* command,
                 const char* taken, const Send& send) {
  const auto report = [&] { context.report(command, Json{{"taken", true}}, taken); };
  if (!wait) {
    auto service = context.connect();
    if (!service) return context.fail(service.error());
    auto sent = send(service.value());
    if (!sent) return context.fail(sent.error());
    report();
    return ExitOk;
  }
  auto listening = context.connectListening();
  if (!listening) return context.fail(listening.error());
  auto sent = send(listening.value().service);
  if (!sent) return context.fail(sent.error());
  report();
  auto outcome = awaitAndPrint(context, listening.value().push, awaited);
  if (!outcome) return context.fail(outcome.error());
  return ExitOk;
}

}  // namespace orva_accelerator::tools
