// From message type to handler.

#include "handlers/request_handlers.h"
#include "ipc/pipe_server.h"
#include "ipc/wire/message_types.h"

namespace orva_accelerator::ipc {

namespace {

// Null for a type that the protocol does not have.
RequestHandler* handlerFor(std::uint32_t type) {
  switch (type) {
    case MsgSdkInit:
      return HandleSdkInit;
    case MsgUserLogin:
      return HandleUserLogin;
    case MsgSdkRelease:
      return HandleSdkRelease;
    case MsgSdkIsInitialised:
      return HandleSdkIsInitialised;
    case MsgStartAccel:
      return HandleStartAccel;
    case MsgStartAccelEx:
      return HandleStartAccelEx;
    case MsgStopAccel:
      return HandleStopAccel;
    case MsgQueryAccelOwner:
      return HandleQueryAccelOwner;
    case MsgGetAccelData:
      return HandleGetAccelData;
    case MsgGetGameLastAccelInfo:
      return HandleGetGameLastAccelInfo;
    case MsgGetGameAccelInfo:
      return HandleGetGameAccelInfo;
    case MsgGetTestSpeedData:
      return HandleGetTestSpeedData;
    case MsgGetConsoleData:
      return HandleGetConsoleData;
    case MsgGetGameUsedNodeList:
      return HandleGetGameUsedNodeList;
    case MsgClientLeaving:
      return HandleClientLeaving;
    case MsgHeartbeat:
      return HandleHeartbeat;
    default:
      return nullptr;
  }
}

}  // namespace

void DispatchRequest(PipeServer& server, const MessageHeader& header, const void* payload,
                     void*& response, std::uint32_t& responseLength) {
  server.recordActivity();
  response = nullptr;
  responseLength = 0;
  if (RequestHandler* const handler = handlerFor(header.type)) {
    handler(server, header, payload, response, responseLength);
  }
}

}  // namespace orva_accelerator::ipc
