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

// Pipes can be opened over the network, by every account of the domain. Looked up at every call:
// not every system on which this runs has the function, and clients connect seldom.
bool isFromAnotherComputer(HANDLE pipe) {
  const HMODULE kernel32 = GetModuleHandleW(L"kernel32.dll");
  if (kernel32 == nullptr) return false;
  const FARPROC function = GetProcAddress(kernel32, "GetNamedPipeClientComputerNameW");
  if (function == nullptr) return false;
  // By way of a type that takes every function's address without a warning.
  // NOLINTBEGIN(bugprone-casting-through-void)
  const auto getComputerName = reinterpret_cast<decltype(&GetNamedPipeClientComputerNameW)>(
      reinterpret_cast<void*>(function));
  // NOLINTEND(bugprone-casting-through-void)
  // Longer than any computer's name.
  wchar_t name[512];
  // Fails for a client of this computer.
  return getComputerName(pipe, name, sizeof(name)) != FALSE;
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
  if (isFromAnotherComputer(pipe.get())) return {};
  return pipe;
}

}  // namespace orva_accelerator::ipc
