// Which headers the request channel takes.
#include <gtest/gtest.h>

#include <atomic>

#include "tests/ipc/channel_test.h"
#include "tests/ipc/scripted_dispatcher.h"

namespace orva_accelerator::test {
namespace {

class RequestHeader : public ChannelTest {
 protected:
  void SetUp() override {
    setDispatcher(server_, [this](const ipc::MessageHeader& header, const void* payload,
                                  void*& response, std::uint32_t& length) {
      ++dispatched_;
      echo(header, payload, response, length);
    });
    start();
  }

  // The client gets no byte, its connection is closed and forgotten, and the next one is served.
  void expectRejected(const Bytes& message) {
    RawPipeClient client = connect();
    ASSERT_TRUE(client.write(message).done());
    EXPECT_TRUE(client.endsSilently());
    EXPECT_TRUE(waitUntil([this] { return inspector_.requestPipes().empty(); }));
    EXPECT_EQ(dispatched_, 0);
    RawPipeClient next = connect();
    expectServed(next);
  }

  std::atomic<int> dispatched_{0};
};

class RequestHeaderLength : public RequestHeader,
                            public testing::WithParamInterface<std::size_t> {};

TEST_P(RequestHeaderLength, EndsTheConnectionWhenTheMessageIsShorterThanAHeader) {
  Bytes message = headerBytes(kEchoType, 0);
  message.resize(GetParam());
  expectRejected(message);
}

INSTANTIATE_TEST_SUITE_P(Bytes, RequestHeaderLength, testing::Range<std::size_t>(0, 24));

class RequestMagic : public RequestHeader, public testing::WithParamInterface<const char*> {};

TEST_P(RequestMagic, EndsTheConnectionWhenItIsNotTheRequestMagic) {
  const Bytes magic = bytesFromHex(GetParam());
  Bytes message = headerBytes(kEchoType, 10);  // Its payload is not waited for.
  std::copy(magic.begin(), magic.end(), message.begin());
  expectRejected(message);
}

INSTANTIATE_TEST_SUITE_P(Magics, RequestMagic,
                         testing::Values("50 4B 58 52",  // The push magic.
                                         "52 58 4C 50",  // The letters the other way round.
                                         "70 6C 78 72",  // Small letters.
                                         "50 4C 58 53",  // One bit off, last byte.
                                         "51 4C 58 52",  // One bit off, first byte.
                                         "00 00 00 00", "FF FF FF FF"));

TEST_F(RequestHeader, EndsTheConnectionForAWrongMagicInALaterRequest) {
  RawPipeClient client = connect();
  expectServed(client);
  Bytes message = headerBytes(kEchoType, 0);
  message[1] = 'K';
  ASSERT_TRUE(client.write(message).done());
  EXPECT_TRUE(client.endsSilently());
}

TEST_F(RequestHeader, IsHandedOnWithAllItsFields) {
  ipc::MessageHeader seen{};
  setDispatcher(server_, [&](const ipc::MessageHeader& header, const void* payload, void*& response,
                             std::uint32_t& length) {
    seen = header;
    echo(header, payload, response, length);
  });
  const GoldenVector& golden = goldenVector("headers.json", "request_header");
  Bytes message = golden.bytes;
  message[12] = 0x02;  // A payload that this test can send.
  message[13] = message[14] = message[15] = 0;
  RawPipeClient client = connect();
  ASSERT_TRUE(client.write(joined(message, {0xAB, 0xCD})).done());
  expectEcho(client, {0xAB, 0xCD}, 0x500, 0xA1B2C3D4);
  EXPECT_EQ(seen.magic, 0x52584C50U);
  EXPECT_EQ(seen.reserved1, 0x11223344U);
  EXPECT_EQ(seen.type, 0x500U);
  EXPECT_EQ(seen.payloadLength, 2U);
  EXPECT_EQ(seen.reserved2, 0x55667788U);
  EXPECT_EQ(seen.clientId, 0xA1B2C3D4U);
}

TEST_F(RequestHeader, MayHoldAnythingInItsReservedFieldsAndAsClientId) {
  RawPipeClient client = connect();
  constexpr std::uint32_t kValues[] = {0, 1, 0x80000000, 0xFFFFFFFF};
  for (const std::uint32_t reserved1 : kValues) {
    for (const std::uint32_t reserved2 : kValues) {
      for (const std::uint32_t id : kValues) {
        const Bytes message =
            joined(Bytes{'P', 'L', 'X', 'R'}, u32Bytes({reserved1, kEchoType, 0, reserved2, id}));
        ASSERT_TRUE(client.write(message).done());
        expectEcho(client, {}, kEchoType, id);
      }
    }
  }
}

TEST_F(RequestHeader, WithoutPayloadIsDispatchedAtOnce) {
  RawPipeClient client = connect();
  ASSERT_TRUE(client.write(headerBytes(kEchoType, 0)).done());
  expectEcho(client, {});
  EXPECT_EQ(dispatched_, 1);
}

TEST_F(RequestHeader, WithoutPayloadLeavesWhatFollowsItToBeTheNextHeader) {
  RawPipeClient client = connect();
  ASSERT_TRUE(
      client.write(joined(headerBytes(kEchoType, 0, 1), headerBytes(kEchoType, 0, 2))).done());
  expectEcho(client, {}, kEchoType, 1);
  expectEcho(client, {}, kEchoType, 2);
}

TEST_F(RequestHeader, OfAnUnansweredTypeGetsAHeaderOfZeros) {
  RawPipeClient client = connect();
  ASSERT_TRUE(client.write(headerBytes(kUnansweredType, 0)).done());
  EXPECT_EQ(client.read().message, Bytes(8, 0));
  expectServed(client);  // Nothing but the header came, and the connection goes on.
}

}  // namespace
}  // namespace orva_accelerator::test
