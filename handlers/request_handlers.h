// One handler for each message type.
//
// Each answers with the record that the table of messages gives for it. A failed operation answers
// its documented failure layout, never nothing. They run on connection threads, several at once.
#pragma once

#include "handlers/request.h"

namespace orva_accelerator::ipc {

Answer HandleSdkInit(const Request<MsgSdkInit>& request);
Answer HandleUserLogin(const Request<MsgUserLogin>& request);
Answer HandleSdkRelease(const Request<MsgSdkRelease>& request);
Answer HandleSdkIsInitialised(const Request<MsgSdkIsInitialised>& request);

Answer HandleStartAccel(const Request<MsgStartAccel>& request);
Answer HandleStartAccelEx(const Request<MsgStartAccelEx>& request);
Answer HandleStopAccel(const Request<MsgStopAccel>& request);
Answer HandleQueryAccelOwner(const Request<MsgQueryAccelOwner>& request);

Answer HandleGetAccelData(const Request<MsgGetAccelData>& request);
Answer HandleGetGameLastAccelInfo(const Request<MsgGetGameLastAccelInfo>& request);
Answer HandleGetGameAccelInfo(const Request<MsgGetGameAccelInfo>& request);
Answer HandleGetTestSpeedData(const Request<MsgGetTestSpeedData>& request);
Answer HandleGetConsoleData(const Request<MsgGetConsoleData>& request);
Answer HandleGetGameUsedNodeList(const Request<MsgGetGameUsedNodeList>& request);

Answer HandleClientLeaving(const Request<MsgClientLeaving>& request);
Answer HandleHeartbeat(const Request<MsgHeartbeat>& request);

}  // namespace orva_accelerator::ipc
