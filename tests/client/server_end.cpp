#include "tests/client/server_end.h"

#include <gtest/gtest.h>

namespace orva_accelerator::test {

ServerEnd::ServerEnd(const std::wstring& name, HANDLE stop, DWORD mostInstances)
    : pipe_(CreateNamedPipeW(name.c_str(), PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED,
                             PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_WAIT, mostInstances,
                             8192, 8192, 0, nullptr)),
      completed_(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
      stop_(stop) {
  EXPECT_TRUE(pipe_) << GetLastError();
  EXPECT_TRUE(completed_) << GetLastError();
}

bool ServerEnd::complete(OVERLAPPED& operation, DWORD& moved, DWORD& error) {
  const HANDLE events[] = {completed_.get(), stop_};
  const DWORD limit = static_cast<DWORD>(kPatience.count());
  if (WaitForMultipleObjects(stop_ == nullptr ? 1 : 2, events, FALSE, limit) != WAIT_OBJECT_0) {
    (void)CancelIoEx(pipe_.get(), &operation);  // Completed meanwhile: then the result says so.
  }
  error = 0;
  if (GetOverlappedResult(pipe_.get(), &operation, &moved, TRUE)) return true;
  error = GetLastError();
  return error == ERROR_MORE_DATA;
}

bool ServerEnd::accept() {
  OVERLAPPED operation{};
  operation.hEvent = completed_.get();
  if (ConnectNamedPipe(pipe_.get(), &operation)) return true;
  DWORD error = GetLastError();
  if (error == ERROR_PIPE_CONNECTED) return true;
  DWORD moved = 0;
  return error == ERROR_IO_PENDING && complete(operation, moved, error);
}

std::optional<Bytes> ServerEnd::read() {
  Bytes message;
  for (;;) {
    const std::size_t had = message.size();
    message.resize(had + 65536);
    OVERLAPPED operation{};
    operation.hEvent = completed_.get();
    DWORD error = 0;
    if (!ReadFile(pipe_.get(), message.data() + had, 65536, nullptr, &operation)) {
      error = GetLastError();
      if (error != ERROR_IO_PENDING && error != ERROR_MORE_DATA) return std::nullopt;
    }
    DWORD moved = 0;
    if (!complete(operation, moved, error)) return std::nullopt;
    message.resize(had + moved);
    if (error == 0) return message;
  }
}

bool ServerEnd::write(std::span<const std::uint8_t> message) {
  OVERLAPPED operation{};
  operation.hEvent = completed_.get();
  const DWORD size = static_cast<DWORD>(message.size());
  DWORD error = 0;
  if (!WriteFile(pipe_.get(), message.data(), size, nullptr, &operation)) {
    error = GetLastError();
    if (error != ERROR_IO_PENDING) return false;
  }
  DWORD moved = 0;
  return complete(operation, moved, error) && moved == size;
}

bool ServerEnd::clientLeaves() {
  if (read()) return false;
  return GetLastError() != ERROR_OPERATION_ABORTED;
}

void ServerEnd::disconnect() {
  (void)DisconnectNamedPipe(pipe_.get());  // Fails when the client never came: nothing to end.
}

}  // namespace orva_accelerator::test
