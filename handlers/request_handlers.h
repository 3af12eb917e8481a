// One handler for each message type.
//
// Each answers with the record that the table of messages gives for it. A failed operation answers
// its documented failure layout, never nothing. They run on connection threads, several at once.
#pragma once

#include "handlers/request.h"

namespace orva_accelerator::ipc {

// A line a message, in the order of the table of messages.
#define ORVA_REQUEST_HANDLERS(X) \
  X(SdkInit)                     \
  X(UserLogin)                   \
  X(SdkRelease)                  \
  X(SdkIsInitialised)            \
  X(StartAccel)                  \
  X(StartAccelEx)                \
  X(StopAccel)                   \
  X(QueryAccelOwner)             \
  X(GetAccelData)                \
  X(GetGameLastAccelInfo)        \
  X(GetGameAccelInfo)            \
  X(GetTestSpeedData)            \
  X(GetConsoleData)              \
  X(GetGameUsedNodeList)         \
  X(ClientLeaving)               \
  X(Heartbeat)

#define ORVA_HANDLER(Name) Answer Handle##Name(const Request<Msg##Name>& request);
ORVA_REQUEST_HANDLERS(ORVA_HANDLER)
#undef ORVA_HANDLER

}  // namespace orva_accelerator::ipc
