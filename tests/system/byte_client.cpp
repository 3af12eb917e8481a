#include "tests/system/byte_client.h"

#include <cstring>

namespace orva_accelerator::test {
namespace {

void put32(Bytes& bytes, std::uint32_t value) {
  for (unsigned shift = 0; shift < 32; shift += 8) {
    bytes.push_back(static_cast<std::uint8_t>(value >> shift));
  }
}

}  // namespace

Bytes header(std::uint32_t type, std::uint32_t payloadLength) {
  Bytes bytes = {'P', 'L', 'X', 'R', 0, 0, 0, 0};
  for (const std::uint32_t field : {type, payloadLength, 0U, 7U}) put32(bytes, field);
  return bytes;
}

testing::AssertionResult ByteClient::isHungUpOnAfter(const Bytes& message) {
  const PipeOutcome written = pipe_.write(message);
  // The service may be gone before a long message is written whole.
  if (!written.done() && !written.closed()) {
    return testing::AssertionFailure() << "the message cannot be written";
  }
  if (!pipe_.endsSilently()) return testing::AssertionFailure() << "the connection stands";
  return testing::AssertionSuccess();
}

ByteListener::ByteListener(std::string_view clientId) {
  EXPECT_EQ(pipe_.open(kPushPipe, std::chrono::seconds(30)), 0U);
  EXPECT_TRUE(pipe_.write(bytesFromHex(clientId)).done());
  EXPECT_TRUE(FlushFileBuffers(pipe_.handle()));
}

bool ByteListener::hearsOfLogins(ByteClient& client) {
  constexpr std::size_t kNotification = 28;
  for (int attempt = 0; attempt < 5; ++attempt) {
    if (client.ask(kLogin, 12) != "00 00 00 00 04 00 00 00 01 00 00 00") return false;
    if (pipe_.readBytes(kNotification, std::chrono::seconds(2)).size() == kNotification)
      return true;
  }
  return false;
}

testing::AssertionResult ServiceSession::isAliveAndAnswers() const {
  if (!isRunning()) return testing::AssertionFailure() << "the service has ended";
  ByteClient client;
  const std::string answer = client.ask(kHeartbeat, 12);
  if (!answer.starts_with("00 00 00 00 04 00 00 00 ") || answer.size() != 12 * 3 - 1) {
    return testing::AssertionFailure() << "a heartbeat is answered by <" << answer << ">";
  }
  if (!isRunning()) return testing::AssertionFailure() << "the service has ended";
  return testing::AssertionSuccess();
}

}  // namespace orva_accelerator::test
