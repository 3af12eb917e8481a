// Clients of the installed service that are written from the protocol's bytes alone: nothing here
// comes from the service, from the client library, or from the vectors that those are tested with.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

#include "tests/support/golden_vectors.h"
#include "tests/support/raw_pipe_client.h"
#include "tests/system/service_fixture.h"

namespace orva_accelerator::test {

inline constexpr wchar_t kRequestPipe[] = L"\\\\.\\pipe\\OrvaAccelerator_Request";
inline constexpr wchar_t kPushPipe[] = L"\\\\.\\pipe\\OrvaAccelerator_Push";

// Requests of client 7. The letters stand for the request: PLXR, 0, type, length, 0, client.
inline constexpr char kHeartbeat[] =
    "50 4C 58 52 00 00 00 00 FF FF 00 00 00 00 00 00 00 00 00 00 07 00 00 00";
inline constexpr char kInit[] =
    "50 4C 58 52 00 00 00 00 00 01 00 00 14 00 00 00 00 00 00 00 07 00 00 00 "
    "03 00 00 00 1A 4F 00 00 08 00 00 00 6F 66 66 69 63 69 61 6C";
inline constexpr char kIsInitialised[] =
    "50 4C 58 52 00 00 00 00 00 02 00 00 00 00 00 00 00 00 00 00 07 00 00 00";
inline constexpr char kLogin[] =
    "50 4C 58 52 00 00 00 00 01 01 00 00 17 00 00 00 00 00 00 00 07 00 00 00 "
    "0B 00 08 00 70 6C 61 79 65 72 40 6F 72 76 61 73 33 63 72 65 74 3B 3D";
inline constexpr char kRelease[] =
    "50 4C 58 52 00 00 00 00 02 01 00 00 00 00 00 00 00 00 00 00 07 00 00 00";

// A 24-byte header of client 7.
Bytes header(std::uint32_t type, std::uint32_t payloadLength);

// One connection to the request pipe.
class ByteClient {
 public:
  ByteClient() { EXPECT_EQ(pipe_.open(kRequestPipe, std::chrono::seconds(30)), 0U); }

  // The next `length` bytes that come back, in hexadecimal; fewer when the service hangs up.
  std::string ask(std::string_view request, std::size_t length) {
    send(bytesFromHex(request));
    return receive(length);
  }
  void send(const Bytes& message) { EXPECT_TRUE(pipe_.write(message).done()); }
  std::string receive(std::size_t length) { return hexFromBytes(pipe_.readBytes(length)); }

  // Whether the service answers to a message by hanging up, without a byte.
  testing::AssertionResult isHungUpOnAfter(const Bytes& message);

  RawPipeClient& pipe() { return pipe_; }

 private:
  RawPipeClient pipe_;
};

// One connection to the push pipe.
class ByteListener {
 public:
  // Announces itself, and waits until the service has read that.
  explicit ByteListener(std::string_view clientId);

  // Logs in until the outcome comes here, which is the only proof of registration that a client can
  // have, and takes it. `client` has initialised the library, which completes logins at once.
  [[nodiscard]] bool hearsOfLogins(ByteClient& client);

  RawPipeClient& pipe() { return pipe_; }

 private:
  RawPipeClient pipe_;
};

// A running service that does not stop itself.
class ServiceSession : public ServiceFixture {
 protected:
  void SetUp() override {
    ServiceFixture::SetUp();
    if (HasFatalFailure()) return;
    ASSERT_TRUE(startHostApplication());
    ASSERT_TRUE(installAndStart());
  }

  // It is the same process, and it answers a newcomer.
  testing::AssertionResult isAliveAndAnswers() const;
};

}  // namespace orva_accelerator::test
