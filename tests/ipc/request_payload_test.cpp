// How payloads are read from messages, and what their handlers are given.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "ipc/payload_buffer.h"
#include "ipc/wire/messages.h"
#include "tests/ipc/channel_test.h"
#include "tests/ipc/scripted_dispatcher.h"

namespace orva_accelerator::test {
namespace {

class RequestPayload : public ChannelTest {
 protected:
  void SetUp() override {
    start();
    client_ = connect();
  }

  RawPipeClient client_;
};

TEST_F(RequestPayload, IsServedInOneMessageWithItsHeader) {
  ASSERT_TRUE(client_.write(requestBytes(kEchoType, {1, 2, 3})).done());
  expectEcho(client_, {1, 2, 3});
}

TEST_F(RequestPayload, IsServedAsAMessageOfItsOwn) {
  ASSERT_TRUE(client_.write(headerBytes(kEchoType, 3)).done());
  ASSERT_TRUE(client_.write(Bytes{1, 2, 3}).done());
  expectEcho(client_, {1, 2, 3});
}

TEST_F(RequestPayload, EndsTheConnectionWhenOneMessageIsShorterThanAnnounced) {
  ASSERT_TRUE(client_.write(joined(headerBytes(kEchoType, 10), Bytes(9, 1))).done());
  EXPECT_TRUE(client_.endsSilently());
}

TEST_F(RequestPayload, EndsTheConnectionWhenItsOwnMessageIsShorterThanAnnounced) {
  ASSERT_TRUE(client_.write(headerBytes(kEchoType, 10)).done());
  ASSERT_TRUE(client_.write(Bytes(9, 1)).done());
  EXPECT_TRUE(client_.endsSilently());
}

TEST_F(RequestPayload, EndsTheConnectionWhenItIsAnEmptyMessage) {
  ASSERT_TRUE(client_.write(headerBytes(kEchoType, 10)).done());
  ASSERT_TRUE(client_.write(Bytes{}).done());
  EXPECT_TRUE(client_.endsSilently());
}

TEST_F(RequestPayload, EndsTheConnectionWhenItIsSpreadOverSeveralMessages) {
  ASSERT_TRUE(client_.write(headerBytes(kEchoType, 10)).done());
  ASSERT_TRUE(client_.write(Bytes(5, 1)).done());
  (void)client_.write(Bytes(5, 2));  // May find the connection closed already.
  EXPECT_TRUE(client_.endsSilently());
}

TEST_F(RequestPayload, EndsTheConnectionWhenItBeginsInTheMessageOfItsHeader) {
  ASSERT_TRUE(client_.write(joined(headerBytes(kEchoType, 10), Bytes(5, 1))).done());
  (void)client_.write(Bytes(5, 2));  // May find the connection closed already.
  EXPECT_TRUE(client_.endsSilently());
}

TEST_F(RequestPayload, LeavesItsExcessToBeTheNextHeader) {
  const Bytes next = requestBytes(kEchoType, {9, 8, 7}, 21);
  ASSERT_TRUE(client_.write(joined(requestBytes(kEchoType, {1, 2, 3, 4}), next)).done());
  expectEcho(client_, {1, 2, 3, 4});
  expectEcho(client_, {9, 8, 7}, kEchoType, 21);
  expectServed(client_);
}

TEST_F(RequestPayload, LeavesItsExcessInAMessageOfItsOwnToBeTheNextHeader) {
  ASSERT_TRUE(client_.write(headerBytes(kEchoType, 4)).done());
  ASSERT_TRUE(client_.write(joined({1, 2, 3, 4}, requestBytes(kEchoType, {5}, 22))).done());
  expectEcho(client_, {1, 2, 3, 4});
  expectEcho(client_, {5}, kEchoType, 22);
}

TEST_F(RequestPayload, EndsTheConnectionAfterTheAnswerWhenItsExcessIsNoHeader) {
  ASSERT_TRUE(client_.write(joined(headerBytes(kEchoType, 4), {1, 2, 3, 4, 5})).done());
  expectEcho(client_, {1, 2, 3, 4});
  EXPECT_TRUE(client_.endsSilently());
}

TEST_F(RequestPayload, IsWaitedForWhenItIsAbsent) {
  ASSERT_TRUE(client_.write(headerBytes(kEchoType, 4)).done());
  EXPECT_TRUE(client_.staysSilent(std::chrono::milliseconds(100)));
  ASSERT_TRUE(client_.write(Bytes{1, 2, 3, 4}).done());
  expectEcho(client_, {1, 2, 3, 4});
}

TEST_F(RequestPayload, IsTakenFromTheNextHeaderWhenItIsAbsent) {
  ASSERT_TRUE(client_.write(headerBytes(kEchoType, 24)).done());
  ASSERT_TRUE(client_.write(headerBytes(kEchoType, 0)).done());
  expectEcho(client_, headerBytes(kEchoType, 0));
}

TEST_F(RequestPayload, ForgetsAClientThatLeavesInsteadOfSendingIt) {
  ASSERT_TRUE(client_.write(headerBytes(kEchoType, 4)).done());
  client_.close();
  EXPECT_TRUE(waitUntil([this] { return inspector_.requestPipes().empty(); }));
}

TEST_F(RequestPayload, OfOneMebibyteIsServedAndSoIsWhatFollows) {
  const Bytes large = patternBytes(1024 * 1024);
  ASSERT_TRUE(client_.write(requestBytes(kEchoType, large)).done());
  expectEcho(client_, large);
  ASSERT_TRUE(client_.write(requestBytes(kEchoType, patternBytes(10))).done());
  expectEcho(client_, patternBytes(10));
}

// Beyond the longest request that a client can mean a payload is read in steps, which nobody must
// notice.
class LargeRequestPayload : public RequestPayload,
                            public testing::WithParamInterface<std::size_t> {};

TEST_P(LargeRequestPayload, IsServedInOneMessage) {
  const Bytes large = patternBytes(GetParam());
  ASSERT_TRUE(client_.write(requestBytes(kEchoType, large)).done());
  expectEcho(client_, large);
  expectServed(client_);
}

TEST_P(LargeRequestPayload, IsServedAsAMessageOfItsOwn) {
  const Bytes large = patternBytes(GetParam());
  ASSERT_TRUE(
      client_.write(headerBytes(kEchoType, static_cast<std::uint32_t>(large.size()))).done());
  ASSERT_TRUE(client_.write(large).done());
  expectEcho(client_, large);
}

TEST_P(LargeRequestPayload, LeavesItsExcessToBeTheNextHeader) {
  const Bytes large = patternBytes(GetParam());
  ASSERT_TRUE(
      client_.write(joined(requestBytes(kEchoType, large), requestBytes(kEchoType, {5}))).done());
  expectEcho(client_, large);
  expectEcho(client_, {5});
}

constexpr std::size_t kMebibyte = 1024 * 1024;
INSTANTIATE_TEST_SUITE_P(Sizes, LargeRequestPayload,
                         testing::Values(131'094, 131'095, 262'188, kMebibyte + 1, 3 * kMebibyte,
                                         5 * kMebibyte + 1));

struct Shortfall {
  std::uint32_t announced;
  std::size_t sent;
};

class ShortLargeRequestPayload : public RequestPayload,
                                 public testing::WithParamInterface<Shortfall> {};

TEST_P(ShortLargeRequestPayload, EndsTheConnection) {
  ASSERT_TRUE(client_.write(headerBytes(kEchoType, GetParam().announced)).done());
  ASSERT_TRUE(client_.write(Bytes(GetParam().sent)).done());
  (void)client_.write(Bytes(GetParam().announced - GetParam().sent));  // Must not complete it.
  EXPECT_TRUE(client_.endsSilently());
}

INSTANTIATE_TEST_SUITE_P(Sizes, ShortLargeRequestPayload,
                         testing::Values(Shortfall{3 * kMebibyte, 262'188},  // On a step.
                                         Shortfall{131'095, 131'094},
                                         Shortfall{3 * kMebibyte, kMebibyte},
                                         Shortfall{3 * kMebibyte, kMebibyte + 100},
                                         Shortfall{3 * kMebibyte, 3 * kMebibyte - 1},
                                         Shortfall{kMebibyte + 1, kMebibyte}));

// What handlers find where a payload is, and behind it.
class RequestPayloadMargin : public RequestPayload {
 protected:
  void SetUp() override {
    setDispatcher(server_, [](const ipc::MessageHeader& header, const void* payload,
                              void*& response, std::uint32_t& length) {
      const auto* const bytes = static_cast<const std::uint8_t*>(payload);
      respond(Bytes(bytes, bytes + header.payloadLength + ipc::PayloadBuffer::kReadMargin),
              response, length);
    });
    RequestPayload::SetUp();
  }

  static Bytes withZeros(Bytes bytes) {
    bytes.resize(bytes.size() + ipc::PayloadBuffer::kReadMargin);
    return bytes;
  }
};

TEST_F(RequestPayloadMargin, IsZerosWithoutAnyPayload) {
  ASSERT_TRUE(client_.write(headerBytes(kEchoType, 0)).done());
  expectResponse(client_, withZeros({}));
}

TEST_F(RequestPayloadMargin, IsZerosBehindTheFirstPayload) {
  ASSERT_TRUE(client_.write(requestBytes(kEchoType, {1, 2, 3})).done());
  expectResponse(client_, withZeros({1, 2, 3}));
}

TEST_F(RequestPayloadMargin, ShowsOnlyWhatThisConnectionSent) {
  RawPipeClient other = connect();
  ASSERT_TRUE(other.write(requestBytes(kEchoType, Bytes(5000, 0xEE))).done());
  expectResponse(other, withZeros(Bytes(5000, 0xEE)));
  other.close();
  ASSERT_TRUE(client_.write(requestBytes(kEchoType, {1, 2, 3, 4, 5})).done());
  expectResponse(client_, withZeros({1, 2, 3, 4, 5}));
  ASSERT_TRUE(client_.write(requestBytes(kEchoType, {9, 8})).done());
  Bytes expected = withZeros({9, 8});
  expected[2] = 3;  // Left there by the longer payload before.
  expected[3] = 4;
  expected[4] = 5;
  expectResponse(client_, expected);
}

TEST_F(RequestPayloadMargin, ShowsNothingOfALogin) {
  const Bytes login = patternBytes(5000);
  ASSERT_TRUE(client_.write(requestBytes(ipc::MsgUserLogin, login)).done());
  expectResponse(client_, withZeros(login));
  ASSERT_TRUE(client_.write(headerBytes(kEchoType, 0)).done());
  expectResponse(client_, withZeros({}));
}

TEST_F(RequestPayloadMargin, KeepsThePayloadBeforeForARequestWithoutAny) {
  ASSERT_TRUE(client_.write(requestBytes(kEchoType, {1, 2, 3})).done());
  expectResponse(client_, withZeros({1, 2, 3}));
  ASSERT_TRUE(client_.write(headerBytes(kEchoType, 0)).done());
  Bytes expected = withZeros({});
  expected[0] = 1;
  expected[1] = 2;
  expected[2] = 3;
  expectResponse(client_, expected);
}

}  // namespace
}  // namespace orva_accelerator::test
