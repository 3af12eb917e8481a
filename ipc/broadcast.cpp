// Writing one notification to every registered client.

#include <chrono>

#include "ipc/pipe_server.h"
#include "ipc/write_watchdog.h"
#include "win32/race_point.h"

namespace orva_accelerator::ipc {

namespace {

using HundredNanoseconds = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;

std::uint32_t pushTimestamp() {
  const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
  const auto ticks = std::chrono::duration_cast<HundredNanoseconds>(sinceEpoch).count();
  return static_cast<std::uint32_t>(static_cast<std::uint64_t>(ticks));
}

bool writeWhole(HANDLE pipe, const void* bytes, std::uint32_t length) {
  if (pipe == INVALID_HANDLE_VALUE) return false;
  DWORD written = 0;
  return WriteFile(pipe, bytes, length, &written, nullptr) && written == length;
}

// Header and payload are two messages. A null payload writes the header alone, whatever length it
// announces.
bool writeFrame(HANDLE pipe, const PushFrameHeader& header, const void* payload) {
  if (!writeWhole(pipe, &header, sizeof(header))) return false;
  if (payload == nullptr || header.payloadLength == 0) return true;
  win32::racePoint("race: between header and payload");
  return writeWhole(pipe, payload, header.payloadLength);
}

bool sendFrame(PushPipe& pipe, const PushFrameHeader& header, const void* payload,
               WatchedThread& watched) {
  PushPipe::Writer writer(pipe, watched);
  watched.beginFrame(pipe);
  const bool sent = writeFrame(writer.get(), header, payload);
  watched.endFrame();
  win32::racePoint("race: end of a frame");
  // Ahead of the next one's turn, which nobody then gets.
  if (!sent) writer.fail();
  return sent;
}

}  // namespace

bool PipeServer::BroadcastPush(std::uint32_t clientId, std::uint32_t type, const void* payload,
                               std::uint32_t payloadLength) {
  const PushFrameHeader header = {kPushMagic, clientId, type, payloadLength, pushTimestamp()};
  const PushClientTable::Pipes pipes = pushClients.connectedPipes();
  if (pipes.empty()) return false;
  win32::racePoint("race: broadcast");

  WatchedThread watched;
  PushClientTable::Pipes failedPipes;
  for (const auto& pipe : pipes) {
    if (!sendFrame(*pipe, header, payload, watched)) failedPipes.push_back(pipe);
  }
  pushClients.removePipes(failedPipes);
  return failedPipes.size() < pipes.size();
}

}  // namespace orva_accelerator::ipc
