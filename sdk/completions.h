// The C-callable completion functions that the library is given, and the process-wide handlers
// that they call.
#pragma once

#include <string>

#include "sdk/accel_result.h"
#include "sdk/completion_handler.h"
#include "sdk/kernel_api.h"

namespace orva_accelerator::sdk {

using CodeResultHandler = CompletionHandler<int, const std::wstring&>;
using AccelResultHandler = CompletionHandler<const SAccelResult&>;

// Called with the code that the library reported and a message that is always empty: the library's
// other arguments have no agreed meaning and are never read.
using CodeResultCallback = CodeResultHandler::Function;
// Called with every result that the library reports for a start, progress included.
using AccelResultCallback = AccelResultHandler::Function;

extern CodeResultHandler loginResultHandler;
extern CodeResultHandler stopResultHandler;
extern AccelResultHandler accelResultHandler;

// Called by the library, on any of its threads or inside the call that they complete.
void OnLoginResult(void* unused1, int code, void* unused2);
void OnStopResult(void* unused1, int code, void* unused2);
void OnAccelResult(void* context, void* unused, const KernelAccelResult* record);

}  // namespace orva_accelerator::sdk
