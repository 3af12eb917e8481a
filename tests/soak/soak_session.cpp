#include "tests/soak/soak_session.h"

#include <windows.h>
// Needs the one before.
#include <psapi.h>

#include <cstring>
#include <string>

#include "client/requests.h"
#include "ipc/wire/headers.h"
#include "ipc/wire/notifications.h"

namespace orva_accelerator::test {
namespace {

// More than any answer has; a header that announces more is broken.
constexpr std::uint32_t kLongestAnswer = 16 * 1024 * 1024;
constexpr std::size_t kLoginNotification = 28;

PROCESS_MEMORY_COUNTERS memoryOf(HANDLE process) {
  PROCESS_MEMORY_COUNTERS counters = {};
  counters.cb = sizeof counters;
  EXPECT_TRUE(K32GetProcessMemoryInfo(process, &counters, sizeof counters));
  return counters;
}

}  // namespace

client::Bytes frame(std::uint32_t type, const client::Bytes& payload, std::uint32_t clientId) {
  return client::encodeFrame(type, clientId, payload).value();
}

client::Bytes initFrame() {
  return frame(ipc::MsgSdkInit, client::encodeInit({3, 20250, "official"}).value());
}

client::Bytes loginFrame(std::uint32_t clientId) {
  return frame(ipc::MsgUserLogin, client::encodeLogin({"player@orva", "s3cret;="}).value(),
               clientId);
}

bool readAnswer(RawPipeClient& pipe, std::chrono::milliseconds limit) {
  const std::vector<std::uint8_t> bytes = pipe.readBytes(sizeof(ipc::ResponseHeader), limit);
  ipc::ResponseHeader header = {};
  if (bytes.size() != sizeof header) return false;
  std::memcpy(&header, bytes.data(), sizeof header);
  if (header.reserved != 0 || header.payloadLength > kLongestAnswer) return false;
  return pipe.readBytes(header.payloadLength, limit).size() == header.payloadLength;
}

bool asksAndIsAnswered(RawPipeClient& pipe, const client::Bytes& message,
                       std::chrono::milliseconds limit) {
  if (!pipe.isOpen() && pipe.open(kRequestPipe, limit) != ERROR_SUCCESS) return false;
  return pipe.write(message, limit).done() && readAnswer(pipe, limit);
}

bool registerPush(RawPipeClient& pipe, std::uint32_t clientId) {
  return pipe.open(kPushPipe) == ERROR_SUCCESS &&
         pipe.write(client::encodePushRegistration(clientId)).done() &&
         FlushFileBuffers(pipe.handle());
}

bool hearsOfLoginBy(RawPipeClient& pipe, std::uint32_t clientId) {
  for (;;) {
    const std::vector<std::uint8_t> bytes = pipe.readBytes(kLoginNotification);
    if (bytes.size() != kLoginNotification) return false;
    ipc::PushFrameHeader header = {};
    std::memcpy(&header, bytes.data(), sizeof header);
    if (header.magic != ipc::kPushMagic || header.type != ipc::NotifyUserLogin) return false;
    if (header.clientId == clientId) return true;
  }
}

void SoakSession::SetUp() {
  ServiceSession::SetUp();
  if (HasFatalFailure()) return;
  scenario("{}");
}

void SoakSession::scenario(std::string_view functions) {
  simulator().writeScenario(R"({"log": {"enabled": false}, "functions": )" +
                            std::string(functions) + "}");
}

bool SoakSession::initialise() {
  RawPipeClient pipe;
  const bool answered = asksAndIsAnswered(pipe, initFrame());
  EXPECT_TRUE(answered) << "the library is not initialised";
  return answered;
}

std::size_t SoakSession::workingSet() const {
  return memoryOf(process()).WorkingSetSize;
}

std::size_t SoakSession::peakWorkingSet() const {
  return memoryOf(process()).PeakWorkingSetSize;
}

HandleCounts SoakSession::handles() const {
  const std::optional<HandleCounts> counts = handleCounts(processId());
  EXPECT_TRUE(counts) << "handles cannot be counted";
  return counts.value_or(HandleCounts());
}

bool SoakSession::startAgain() {
  if (!start()) return false;
  const testing::AssertionResult alive = isAliveAndAnswers();
  EXPECT_TRUE(alive);
  return static_cast<bool>(alive);
}

SoakSession::Stopped SoakSession::stopAndCheck() {
  (void)sendControl(SERVICE_CONTROL_STOP);  // The end of the process is what tells.
  const std::optional<DWORD> code = waitForEnd();
  if (!code && isHeldUpByWine()) {
    killService();
    return Stopped::HeldUpByWine;
  }
  EXPECT_TRUE(code) << "the service does not end";
  if (code) {
    EXPECT_EQ(*code, kDeliberateEnd);
  }
  return code == kDeliberateEnd ? Stopped::AsMeant : Stopped::Wrongly;
}

}  // namespace orva_accelerator::test
