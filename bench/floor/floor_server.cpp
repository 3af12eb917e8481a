// The smallest server of the service's wire behaviour: for every request and every push exactly the
// pipe calls that the protocol forces on anybody who speaks it, and nothing beside them. What the
// service takes longer than this is the service's own doing.
//
//   orva_bench_floor NAME       listens on \\.\pipe\NAME_Request and \\.\pipe\NAME_Push
//
// It answers a heartbeat with 4 bytes and everything else with none. A login request is the order
// to push: one notification of a login's size to every push client, before the request is answered.
// It trusts its clients, has no log, no library and no end.
#include <windows.h>

#include <cstdint>
#include <cstdio>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "ipc/wire/headers.h"
#include "ipc/wire/messages.h"
#include "ipc/wire/notifications.h"
#include "win32/detached_thread.h"

namespace orva_accelerator::bench {
namespace {

using ipc::MessageHeader;
using ipc::PushFrameHeader;
using ipc::ResponseHeader;

constexpr DWORD kPipeBufferSize = 8192;  // As the service's.

std::mutex pushPipesMutex;
std::map<std::uint32_t, HANDLE> pushPipes;

// The service's end of a new connection; null when the system refuses.
HANDLE acceptClient(const std::wstring& name) {
  const HANDLE pipe = CreateNamedPipeW(
      name.c_str(), PIPE_ACCESS_DUPLEX, PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_WAIT,
      PIPE_UNLIMITED_INSTANCES, kPipeBufferSize, kPipeBufferSize, 0, nullptr);
  if (pipe == INVALID_HANDLE_VALUE) return nullptr;
  if (!ConnectNamedPipe(pipe, nullptr) && GetLastError() != ERROR_PIPE_CONNECTED) {
    (void)CloseHandle(pipe);  // Nobody has it.
    return nullptr;
  }
  return pipe;
}

bool readWhole(HANDLE pipe, void* bytes, DWORD length) {
  DWORD received = 0;
  return ReadFile(pipe, bytes, length, &received, nullptr) && received == length;
}

bool writeWhole(HANDLE pipe, const void* bytes, DWORD length) {
  DWORD written = 0;
  return WriteFile(pipe, bytes, length, &written, nullptr) && written == length;
}

void pushToAll(std::uint32_t clientId) {
  const std::uint8_t payload[8] = {};
  const PushFrameHeader header = {ipc::kPushMagic, clientId, ipc::NotifyUserLogin, sizeof(payload),
                                  0};
  std::vector<HANDLE> pipes;
  {
    const std::lock_guard lock(pushPipesMutex);
    for (const auto& [id, pipe] : pushPipes) pipes.push_back(pipe);
  }
  for (const HANDLE pipe : pipes) {
    if (writeWhole(pipe, &header, sizeof(header))) (void)writeWhole(pipe, payload, sizeof(payload));
  }
}

void serveRequests(HANDLE pipe) {
  std::vector<std::uint8_t> payload;
  MessageHeader header = {};
  while (readWhole(pipe, &header, sizeof(header))) {
    if (header.payloadLength != 0) {
      if (payload.size() < header.payloadLength) payload.resize(header.payloadLength);
      if (!readWhole(pipe, payload.data(), header.payloadLength)) break;
    }
    if (header.type == ipc::MsgUserLogin) pushToAll(header.clientId);
    const std::uint32_t answer = 0;
    const bool hasAnswer = header.type == ipc::MsgHeartbeat || header.type == ipc::MsgUserLogin;
    const ResponseHeader response = {0, hasAnswer ? std::uint32_t{sizeof(answer)} : 0};
    (void)writeWhole(pipe, &response, sizeof(response));  // The next read notices a lost client.
    if (hasAnswer) (void)writeWhole(pipe, &answer, sizeof(answer));
    (void)FlushFileBuffers(pipe);
  }
  (void)DisconnectNamedPipe(pipe);
  (void)CloseHandle(pipe);
}

void servePushClient(HANDLE pipe, HANDLE never) {
  std::uint32_t id = 0;
  if (!readWhole(pipe, &id, sizeof(id))) return;
  {
    const std::lock_guard lock(pushPipesMutex);
    HANDLE& entry = pushPipes[id];
    if (entry != nullptr) (void)CloseHandle(entry);
    entry = pipe;
  }
  (void)WaitForSingleObject(never, INFINITE);  // A push connection has a parked thread.
}

}  // namespace
}  // namespace orva_accelerator::bench

int main(int argc, char* argv[]) {
  using namespace orva_accelerator::bench;
  namespace win32 = orva_accelerator::win32;
  if (argc != 2) {
    std::fputs("usage: orva_bench_floor NAME\n", stderr);
    return 2;
  }
  const std::string narrowName = argv[1];
  const std::wstring name = L"\\\\.\\pipe\\" + std::wstring(narrowName.begin(), narrowName.end());
  (void)SetPriorityClass(GetCurrentProcess(), HIGH_PRIORITY_CLASS);  // As the service does.
  const HANDLE never = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  if (never == nullptr) return 1;
  win32::startDetachedThread([pushName = name + L"_Push", never] {
    for (;;) {
      if (const HANDLE pipe = acceptClient(pushName)) {
        win32::startDetachedThread([pipe, never] { servePushClient(pipe, never); });
      }
    }
  });
  // Kept, not detached, for the same reason for which win32/detached_thread.h exists.
  std::vector<std::thread> connections;
  for (;;) {
    if (const HANDLE pipe = acceptClient(name + L"_Request")) {
      connections.emplace_back(serveRequests, pipe);
    }
  }
}
