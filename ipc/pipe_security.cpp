#include "ipc/pipe_security.h"

#include <sddl.h>

namespace orva_accelerator::ipc {

namespace {

constexpr DWORD kPipeBufferSize = 8192;

SECURITY_ATTRIBUTES pipeSecurity = {sizeof(SECURITY_ATTRIBUTES), nullptr, FALSE};
SRWLOCK pipeSecurityLock = SRWLOCK_INIT;

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
  AcquireSRWLockExclusive(&pipeSecurityLock);
  if (pipeSecurity.lpSecurityDescriptor != nullptr) {
    (void)LocalFree(pipeSecurity.lpSecurityDescriptor);  // Nothing can be done about a failure.
  }
  pipeSecurity.lpSecurityDescriptor = convertPipeSecurity();
  const bool built = pipeSecurity.lpSecurityDescriptor != nullptr;
  ReleaseSRWLockExclusive(&pipeSecurityLock);
  return built ? &pipeSecurity : nullptr;
}

HANDLE createSecuredPipe(const std::wstring& name, SECURITY_ATTRIBUTES* security) {
  AcquireSRWLockShared(&pipeSecurityLock);
  HANDLE pipe = INVALID_HANDLE_VALUE;
  if (security->lpSecurityDescriptor != nullptr) {
    pipe = CreateNamedPipeW(
        name.c_str(), PIPE_ACCESS_DUPLEX, PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_WAIT,
        PIPE_UNLIMITED_INSTANCES, kPipeBufferSize, kPipeBufferSize, 0, security);
  } else {
    // The other loop could not rebuild it. Null would mean the system's own idea of who may read.
    SetLastError(ERROR_INVALID_SECURITY_DESCR);
  }
  ReleaseSRWLockShared(&pipeSecurityLock);
  return pipe;
}

}  // namespace orva_accelerator::ipc
