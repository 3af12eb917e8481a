// Starting and stopping acceleration, and asking who owns it.

#include "handlers/request_handlers.h"
#include "ipc/notifiers.h"
#include "ipc/pipe_server.h"
#include "sdk/accel_sdk.h"

namespace orva_accelerator::ipc {

namespace {

// What both starts do around `start`, which is given the two texts and says whether the library
// took the start. While a start is pending, no other is made; the client that is waiting for it may
// repeat its request. A running acceleration does not stand in the way of a start, whoever's it is.
template <MessageType Type, typename Start>
Answer answerStart(const Request<Type>& request, const Start& start) {
  AccelerationOwnership& ownership = request.server.ownership;
  if (!ownership.beginStart(request.clientId)) {
    return request.answer({.accepted = std::uint8_t{ownership.isPendingFor(request.clientId)}});
  }
  const auto [startText, nodeSelection] = request.texts();
  const bool accepted = start(startText, nodeSelection);
  if (!accepted) ownership.clear();
  return request.answer({.accepted = std::uint8_t{accepted}});
}

}  // namespace

Answer HandleStartAccel(const Request<MsgStartAccel>& request) {
  return answerStart(request, [&](const std::wstring& startText, const std::wstring& nodes) {
    const StartAccelRequest& start = request.fixed;
    return sdk::AccelSdk::Instance().StartAccel(
        start.startArg1, start.startArg2, startText, nodes, start.startArg3,
        AccelResultNotifier(request.clientId, NotifyStartAccel));
  });
}

Answer HandleStartAccelEx(const Request<MsgStartAccelEx>& request) {
  return answerStart(request, [&](const std::wstring& startText, const std::wstring& nodes) {
    const StartAccelRequest& start = request.fixed.start;
    sdk::AccelSdk& accelSdk = sdk::AccelSdk::Instance();
    // An extended start replaces whatever runs, if anything does; a plain one leaves that to the
    // library.
    (void)accelSdk.StopAccel(IgnoreStopResult());
    request.server.ownership.forgetRunning();
    return accelSdk.StartAccelEx(start.startArg1, start.startArg2, startText, nodes,
                                 start.startArg3, request.fixed.startArg4,
                                 AccelResultNotifier(request.clientId, NotifyStartAccelEx));
  });
}

Answer HandleStopAccel(const Request<MsgStopAccel>& request) {
  // Made ahead: it says that the request was taken. Any client may stop the acceleration; the
  // outcome is a notification.
  Answer taken = request.answer({.taken = 1});
  (void)sdk::AccelSdk::Instance().StopAccel(StopResultNotifier(request.server, request.clientId));
  return taken;
}

Answer HandleQueryAccelOwner(const Request<MsgQueryAccelOwner>& request) {
  const AccelerationOwnership& ownership = request.server.ownership;
  if (!ownership.isActive()) return request.answer({});
  const bool isOwner = ownership.isReportedAsOwner(request.clientId);
  return request.answer({.anyAcceleration = 1, .ownedByCaller = std::uint8_t{isOwner}});
}

}  // namespace orva_accelerator::ipc
