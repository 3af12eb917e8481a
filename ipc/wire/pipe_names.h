// Where the service listens.
#pragma once

namespace orva_accelerator::ipc {

// One request, one response, on the same connection.
inline constexpr wchar_t kRequestPipeName[] = L"\\\\.\\pipe\\OrvaAccelerator_Request";
// Notifications, after the client has written its 4-byte id.
inline constexpr wchar_t kPushPipeName[] = L"\\\\.\\pipe\\OrvaAccelerator_Push";

}  // namespace orva_accelerator::ipc
