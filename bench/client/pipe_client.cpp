#include "bench/client/pipe_client.h"

#include <stdexcept>

namespace orva_accelerator::bench {

namespace {

constexpr ULONGLONG kOpenTimeoutMs = 10'000;
constexpr DWORD kBusyWaitMs = 20;

void readWhole(HANDLE pipe, void* bytes, DWORD length) {
  DWORD received = 0;
  if (!ReadFile(pipe, bytes, length, &received, nullptr)) failCall("ReadFile", GetLastError());
  if (received != length) throw std::runtime_error("an answer is shorter than announced");
}

void writeWhole(HANDLE pipe, const void* bytes, DWORD length) {
  DWORD written = 0;
  if (!WriteFile(pipe, bytes, length, &written, nullptr)) failCall("WriteFile", GetLastError());
}

}  // namespace

void failCall(const char* call, DWORD error) {
  throw std::runtime_error(std::string(call) + " failed with error " + std::to_string(error));
}

win32::UniqueFileHandle openPipe(const std::wstring& name, DWORD flags) {
  const ULONGLONG deadline = GetTickCount64() + kOpenTimeoutMs;
  for (;;) {
    win32::UniqueFileHandle pipe(CreateFileW(name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                             OPEN_EXISTING, flags, nullptr));
    if (pipe) {
      DWORD mode = PIPE_READMODE_MESSAGE;
      if (!SetNamedPipeHandleState(pipe.get(), &mode, nullptr, nullptr)) {
        failCall("SetNamedPipeHandleState", GetLastError());
      }
      return pipe;
    }
    const DWORD error = GetLastError();
    // Between two instances the pipe is busy, or not there at all.
    const bool isBusy = error == ERROR_PIPE_BUSY;
    if ((!isBusy && error != ERROR_FILE_NOT_FOUND) || GetTickCount64() > deadline) {
      failCall("CreateFileW", error);
    }
    if (isBusy) {
      (void)WaitNamedPipeW(name.c_str(), kBusyWaitMs);  // However it ends, it is tried again.
    } else {
      Sleep(0);
    }
  }
}

void RequestPipe::send(std::uint32_t type, const std::vector<std::uint8_t>& payload,
                       std::uint32_t clientId) {
  const auto length = static_cast<std::uint32_t>(payload.size());
  const ipc::MessageHeader header = {ipc::kRequestMagic, 0, type, length, 0, clientId};
  writeWhole(pipe_.get(), &header, sizeof(header));
  if (length != 0) writeWhole(pipe_.get(), payload.data(), length);
}

const std::vector<std::uint8_t>& RequestPipe::receive() {
  ipc::ResponseHeader header = {};
  readWhole(pipe_.get(), &header, sizeof(header));
  answer_.resize(header.payloadLength);
  if (header.payloadLength != 0) readWhole(pipe_.get(), answer_.data(), header.payloadLength);
  return answer_;
}

}  // namespace orva_accelerator::bench
