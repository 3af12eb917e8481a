#include "ipc/pipe_listener.h"

#include <sddl.h>

#include <mutex>

namespace orva_accelerator::ipc {

namespace {

constexpr DWORD kPipeBufferSize = 8192;
constexpr DWORD kCreateRetryMs = 1000;

SECURITY_ATTRIBUTES pipeSecurity = {sizeof(SECURITY_ATTRIBUTES), nullptr, FALSE};
std::mutex pipeSecurityMutex;

PSECURITY_DESCRIPTOR convertPipeSecurity() {
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(kPipeSecurity, SDDL_REVISION_1,
                                                            &descriptor, nullptr)) {
    return nullptr;
  }
  return descriptor;
}

}  // namespace

SECURITY_ATTRIBUTES* buildPipeSecurity() {
  const std::lock_guard lock(pipeSecurityMutex);
  // Returns the memory again when it fails; there is nothing to do then.
  if (pipeSecurity.lpSecurityDescriptor != nullptr)
    (void)LocalFree(pipeSecurity.lpSecurityDescriptor);
  pipeSecurity.lpSecurityDescriptor = convertPipeSecurity();
  return pipeSecurity.lpSecurityDescriptor != nullptr ? &pipeSecurity : nullptr;
}

win32::UniqueFileHandle createSecuredPipe(const std::wstring& name) {
  const std::lock_guard lock(pipeSecurityMutex);
  if (pipeSecurity.lpSecurityDescriptor == nullptr) {
    // The other loop could not rebuild it. Null would mean the system's own idea of who may read.
    SetLastError(ERROR_INVALID_SECURITY_DESCR);
    return {};
  }
  return win32::UniqueFileHandle(CreateNamedPipeW(
      name.c_str(), PIPE_ACCESS_DUPLEX, PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_WAIT,
      PIPE_UNLIMITED_INSTANCES, kPipeBufferSize, kPipeBufferSize, 0, &pipeSecurity));
}

win32::UniqueFileHandle acceptPipeClient(const std::wstring& name) {
  win32::UniqueFileHandle pipe = createSecuredPipe(name);
  if (!pipe) {
    Sleep(kCreateRetryMs);
    return {};
  }
  if (!ConnectNamedPipe(pipe.get(), nullptr)) {
    // A client that came between creation and the call is connected all the same.
    if (GetLastError() != ERROR_PIPE_CONNECTED) return {};
  }
  return pipe;
}

}  // namespace orva_accelerator::ipc
