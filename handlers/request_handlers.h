// One handler for each message type.
//
// All take the same arguments as MessageHandler, and the server. Each leaves a response, allocated
// at its exact length; a failed operation answers its documented failure layout, never nothing.
// They run on connection threads, several at once.
#pragma once

#include <cstdint>

#include "ipc/message_handler.h"
#include "ipc/wire/headers.h"

namespace orva_accelerator::ipc {

class PipeServer;

using RequestHandler = void(PipeServer& server, const MessageHeader& header, const void* payload,
                            void*& response, std::uint32_t& responseLength);

RequestHandler HandleSdkInit;
RequestHandler HandleUserLogin;
RequestHandler HandleSdkRelease;
RequestHandler HandleSdkIsInitialised;

RequestHandler HandleStartAccel;
RequestHandler HandleStartAccelEx;
RequestHandler HandleStopAccel;
RequestHandler HandleQueryAccelOwner;

RequestHandler HandleGetAccelData;
RequestHandler HandleGetGameLastAccelInfo;
RequestHandler HandleGetGameAccelInfo;
RequestHandler HandleGetTestSpeedData;
RequestHandler HandleGetConsoleData;
RequestHandler HandleGetGameUsedNodeList;

RequestHandler HandleClientLeaving;
RequestHandler HandleHeartbeat;

}  // namespace orva_accelerator::ipc
