// From message type to handler.

#include <algorithm>
#include <iterator>

#include "handlers/request_handlers.h"
#include "ipc/message_handler.h"
#include "ipc/pipe_server.h"

namespace orva_accelerator::ipc {

namespace {

struct Binding {
  MessageType type;
  Answer (*answer)(PipeServer& server, std::uint32_t clientId, const void* payload);
};

template <MessageType Type, Answer (*Handler)(const Request<Type>&)>
constexpr Binding bind() {
  return {Type, [](PipeServer& server, std::uint32_t clientId, const void* payload) {
            return Handler(Request<Type>(server, clientId, payload));
          }};
}

constexpr Binding kBindings[] = {
    bind<MsgSdkInit, HandleSdkInit>(),
    bind<MsgUserLogin, HandleUserLogin>(),
    bind<MsgSdkRelease, HandleSdkRelease>(),
    bind<MsgSdkIsInitialised, HandleSdkIsInitialised>(),
    bind<MsgStartAccel, HandleStartAccel>(),
    bind<MsgStartAccelEx, HandleStartAccelEx>(),
    bind<MsgStopAccel, HandleStopAccel>(),
    bind<MsgQueryAccelOwner, HandleQueryAccelOwner>(),
    bind<MsgGetAccelData, HandleGetAccelData>(),
    bind<MsgGetGameLastAccelInfo, HandleGetGameLastAccelInfo>(),
    bind<MsgGetGameAccelInfo, HandleGetGameAccelInfo>(),
    bind<MsgGetTestSpeedData, HandleGetTestSpeedData>(),
    bind<MsgGetConsoleData, HandleGetConsoleData>(),
    bind<MsgGetGameUsedNodeList, HandleGetGameUsedNodeList>(),
    bind<MsgClientLeaving, HandleClientLeaving>(),
    bind<MsgHeartbeat, HandleHeartbeat>(),
};
static_assert(std::ranges::equal(kBindings, kMessages, {}, &Binding::type, &MessageRow::type),
              "every message has its handler, in the table's order");

}  // namespace

void DispatchRequest(PipeServer& server, const MessageHeader& header, const void* payload,
                     void*& response, std::uint32_t& responseLength) {
  server.recordActivity();
  response = nullptr;
  responseLength = 0;
  const auto binding = std::ranges::find(kBindings, header.type, &Binding::type);
  if (binding == std::end(kBindings)) return;
  Answer answer = binding->answer(server, header.clientId, payload);
  responseLength = answer.length();
  response = answer.release();
}

}  // namespace orva_accelerator::ipc
