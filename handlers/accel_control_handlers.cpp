// Starting and stopping acceleration, and asking who owns it.

#include "handlers/payload_reader.h"
#include "handlers/request_handlers.h"
#include "handlers/response_writer.h"
#include "handlers/text_conversion.h"
#include "ipc/notifiers.h"
#include "ipc/pipe_server.h"
#include "ipc/wire/requests.h"
#include "ipc/wire/responses.h"
#include "sdk/accel_sdk.h"

namespace orva_accelerator::ipc {

namespace {

struct StartTexts {
  std::wstring startText;
  std::wstring nodeSelection;
};

StartTexts readStartTexts(const void* payload, const StartAccelRequest& request,
                          std::uint32_t cursor) {
  StartTexts texts;
  texts.startText = ReadPayloadText(payload, cursor, request.startTextLength);
  texts.nodeSelection = ReadPayloadText(payload, cursor, request.nodeSelectionLength);
  return texts;
}

// While a start is pending, no other is made; the client that is waiting for it may repeat its
// request. A running acceleration does not stand in the way of a start, whoever's it is.
void answerPendingStart(const PipeServer& server, const MessageHeader& header, void*& response,
                        std::uint32_t& responseLength) {
  const std::uint8_t ownStart = server.ownership.isPendingFor(header.clientId) ? 1 : 0;
  respond(ownStart, response, responseLength);
}

void answerStart(PipeServer& server, bool accepted, void*& response,
                 std::uint32_t& responseLength) {
  if (!accepted) server.ownership.clear();
  respond(static_cast<std::uint8_t>(accepted ? 1 : 0), response, responseLength);
}

}  // namespace

void HandleStartAccel(PipeServer& server, const MessageHeader& header, const void* payload,
                      void*& response, std::uint32_t& responseLength) {
  if (server.ownership.isStartPending()) {
    return answerPendingStart(server, header, response, responseLength);
  }
  const auto request = readFixedPart<StartAccelRequest>(payload);
  const StartTexts texts = readStartTexts(payload, request, sizeof(request));
  if (!server.ownership.beginStart(header.clientId)) {
    return answerPendingStart(server, header, response, responseLength);
  }
  const bool accepted = sdk::AccelSdk::Instance().StartAccel(
      request.startArg1, request.startArg2, texts.startText, texts.nodeSelection, request.startArg3,
      AccelResultNotifier(header.clientId, NotifyStartAccel));
  answerStart(server, accepted, response, responseLength);
}

void HandleStartAccelEx(PipeServer& server, const MessageHeader& header, const void* payload,
                        void*& response, std::uint32_t& responseLength) {
  if (server.ownership.isStartPending()) {
    return answerPendingStart(server, header, response, responseLength);
  }
  const auto request = readFixedPart<StartAccelExRequest>(payload);
  const StartTexts texts = readStartTexts(payload, request.start, sizeof(request));
  if (!server.ownership.beginStart(header.clientId)) {
    return answerPendingStart(server, header, response, responseLength);
  }
  // An extended start replaces whatever runs; a plain one leaves that to the library.
  sdk::AccelSdk& accelSdk = sdk::AccelSdk::Instance();
  (void)accelSdk.StopAccel(IgnoreStopResult());  // Nothing may have been running.
  server.ownership.forgetRunning();
  const bool accepted =
      accelSdk.StartAccelEx(request.start.startArg1, request.start.startArg2, texts.startText,
                            texts.nodeSelection, request.start.startArg3, request.startArg4,
                            AccelResultNotifier(header.clientId, NotifyStartAccelEx));
  answerStart(server, accepted, response, responseLength);
}

void HandleStopAccel(PipeServer& server, const MessageHeader& header, const void* /*payload*/,
                     void*& response, std::uint32_t& responseLength) {
  // Any client may stop the acceleration. The answer says that the request was taken; the outcome
  // is a notification.
  respond(std::uint8_t{1}, response, responseLength);
  (void)sdk::AccelSdk::Instance().StopAccel(StopResultNotifier(server, header.clientId));
}

void HandleQueryAccelOwner(PipeServer& server, const MessageHeader& header, const void* /*payload*/,
                           void*& response, std::uint32_t& responseLength) {
  AccelOwnerResponse owner = {};
  if (server.ownership.isActive()) {
    owner.anyAcceleration = 1;
    owner.ownedByCaller = server.ownership.isReportedAsOwner(header.clientId) ? 1 : 0;
  }
  respond(owner, response, responseLength);
}

}  // namespace orva_accelerator::ipc
