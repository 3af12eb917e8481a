#include "ipc/pipe_listener.h"

#include "ipc/pipe_security.h"
#include "win32/unique_handle.h"

namespace orva_accelerator::ipc {

namespace {

constexpr DWORD kCreateRetryMs = 1000;

}  // namespace

HANDLE acceptPipeClient(const std::wstring& name, SECURITY_ATTRIBUTES* security) {
  win32::UniqueFileHandle pipe(createSecuredPipe(name, security));
  if (!pipe) {
    Sleep(kCreateRetryMs);
    return INVALID_HANDLE_VALUE;
  }
  if (!ConnectNamedPipe(pipe.get(), nullptr)) {
    // A client that came between creation and the call is connected all the same.
    if (GetLastError() != ERROR_PIPE_CONNECTED) return INVALID_HANDLE_VALUE;
  }
  return pipe.release();
}

}  // namespace orva_accelerator::ipc
