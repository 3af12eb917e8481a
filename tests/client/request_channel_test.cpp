#include "client/request_channel.h"

#include <gtest/gtest.h>

#include <functional>
#include <thread>

#include "tests/client/deadlines.h"
#include "tests/client/server_end.h"
#include "tests/support/import_patch.h"
#include "tests/support/pipe_names.h"

namespace orva_accelerator::client {
namespace {

using std::chrono::milliseconds;
using test::ServerEnd;

Bytes head(std::uint32_t length) {
  Bytes bytes(8, 0);
  for (std::size_t i = 0; i < 4; ++i) bytes[4 + i] = static_cast<std::uint8_t>(length >> (8 * i));
  return bytes;
}

// A server that reads one request and then does what the test says, and a channel to it.
class RequestChannelTest : public testing::Test {
 protected:
  using Script = std::function<void(ServerEnd&, const Bytes& request)>;

  ~RequestChannelTest() override {
    channel_.reset();
    if (server_.joinable()) server_.join();
  }

  void serve(Script script) {
    server_ = std::thread([this, script = std::move(script)] {
      if (!end_.accept()) return;
      const auto request = end_.read();
      if (request) script(end_, *request);
    });
    auto channel = RequestChannel::open(Endpoint{name_, false}, patient());
    ASSERT_TRUE(channel.ok()) << describe(channel.error());
    channel_.emplace(std::move(channel.value()));
  }

  Result<Bytes> ask(const Deadline& deadline = patient(), const Bytes& payload = {}) {
    return channel_->exchange(0x600, 7, payload, deadline);
  }

  void expectProtocolError() {
    const auto answer = ask();
    ASSERT_FALSE(answer.ok());
    EXPECT_EQ(answer.error().kind, ErrorKind::Protocol) << describe(answer.error());
    EXPECT_FALSE(channel_->usable());
  }

  std::wstring name_ = test::uniquePipeName(L"request");
  ServerEnd end_{name_};
  std::thread server_;
  std::optional<RequestChannel> channel_;
};

TEST_F(RequestChannelTest, SendsHeaderAndPayloadAsOneMessage) {
  Bytes seen;
  serve([&](ServerEnd& end, const Bytes& request) {
    seen = request;
    EXPECT_TRUE(end.write(head(0)));
  });
  const auto answer = ask(patient(), {0xAA, 0xBB});
  ASSERT_TRUE(answer.ok());
  EXPECT_TRUE(answer.value().empty());
  EXPECT_EQ(test::hexFromBytes(seen),
            "50 4C 58 52 00 00 00 00 00 06 00 00 02 00 00 00 00 00 00 00 07 00 00 00 AA BB");
}

TEST_F(RequestChannelTest, GivesThePayloadOfTheAnswer) {
  serve([](ServerEnd& end, const Bytes&) {
    EXPECT_TRUE(end.write(head(3)));
    EXPECT_TRUE(end.write(Bytes{1, 2, 3}));
  });
  EXPECT_EQ(ask().value(), (Bytes{1, 2, 3}));
}

TEST_F(RequestChannelTest, TakesHeaderAndPayloadInOneMessageToo) {
  serve([](ServerEnd& end, const Bytes&) {
    Bytes message = head(3);
    message.insert(message.end(), {1, 2, 3});
    EXPECT_TRUE(end.write(message));
  });
  EXPECT_EQ(ask().value(), (Bytes{1, 2, 3}));
}

TEST_F(RequestChannelTest, TakesAnAnswerThatIsLargerThanThePipesBuffers) {
  Bytes large(300'000);
  for (std::size_t i = 0; i < large.size(); ++i) large[i] = static_cast<std::uint8_t>(i * 7);
  serve([&](ServerEnd& end, const Bytes&) {
    EXPECT_TRUE(end.write(head(static_cast<std::uint32_t>(large.size()))));
    EXPECT_TRUE(end.write(large));
  });
  EXPECT_EQ(ask().value(), large);
}

TEST_F(RequestChannelTest, SendsARequestThatIsLargerThanThePipesBuffers) {
  std::size_t seen = 0;
  serve([&](ServerEnd& end, const Bytes& request) {
    seen = request.size();
    EXPECT_TRUE(end.write(head(0)));
  });
  ASSERT_TRUE(ask(patient(), Bytes(200'000, 1)).ok());
  EXPECT_EQ(seen, 200'024u);
}

TEST_F(RequestChannelTest, AsksAgainOnTheSameConnection) {
  serve([](ServerEnd& end, const Bytes&) {
    EXPECT_TRUE(end.write(head(1)));
    EXPECT_TRUE(end.write(Bytes{1}));
    EXPECT_TRUE(end.read().has_value());
    EXPECT_TRUE(end.write(head(1)));
    EXPECT_TRUE(end.write(Bytes{2}));
  });
  EXPECT_EQ(ask().value(), Bytes{1});
  EXPECT_EQ(ask().value(), Bytes{2});
}

TEST_F(RequestChannelTest, TimesOutAndClosesWhenNoAnswerComes) {
  bool left = false;
  serve([&](ServerEnd& end, const Bytes&) { left = end.clientLeaves(); });
  const auto answer = ask(Deadline::after(milliseconds(50)));
  ASSERT_FALSE(answer.ok());
  EXPECT_EQ(answer.error().kind, ErrorKind::Timeout);
  EXPECT_EQ(answer.error().step, "read the answer");
  EXPECT_FALSE(channel_->usable());
  EXPECT_EQ(ask().error().kind, ErrorKind::Usage);
  server_.join();
  EXPECT_TRUE(left);
}

TEST_F(RequestChannelTest, TimesOutWhenThePayloadDoesNotFollow) {
  serve([](ServerEnd& end, const Bytes&) {
    EXPECT_TRUE(end.write(head(4)));
    EXPECT_TRUE(end.clientLeaves());
  });
  EXPECT_EQ(ask(Deadline::after(milliseconds(50))).error().kind, ErrorKind::Timeout);
}

TEST_F(RequestChannelTest, TimesOutWhenTheRequestIsNotRead) {
  // More than the pipe takes, and a server that never reads.
  auto channel = RequestChannel::open(Endpoint{name_, false}, patient());
  ASSERT_TRUE(channel.ok());
  const auto answer =
      channel.value().exchange(1, 7, Bytes(100'000, 1), Deadline::after(milliseconds(50)));
  ASSERT_FALSE(answer.ok());
  EXPECT_EQ(answer.error().kind, ErrorKind::Timeout);
  EXPECT_EQ(answer.error().step, "send a request");
  EXPECT_FALSE(channel.value().usable());
}

TEST_F(RequestChannelTest, SaysThatTheServiceHasHungUpInsteadOfAnswering) {
  serve([](ServerEnd& end, const Bytes&) { end.disconnect(); });
  const auto answer = ask();
  ASSERT_FALSE(answer.ok());
  EXPECT_EQ(answer.error().kind, ErrorKind::HungUp);
  EXPECT_NE(answer.error().win32Code, 0u);
  EXPECT_FALSE(channel_->usable());
}

TEST_F(RequestChannelTest, IsAProtocolErrorWhenTheHeaderIsShort) {
  serve([](ServerEnd& end, const Bytes&) { EXPECT_TRUE(end.write(Bytes(7, 0))); });
  expectProtocolError();
}

TEST_F(RequestChannelTest, IsAProtocolErrorWhenTheHeaderIsAnEmptyMessage) {
  serve([](ServerEnd& end, const Bytes&) { EXPECT_TRUE(end.write(Bytes())); });
  expectProtocolError();
}

TEST_F(RequestChannelTest, IsAProtocolErrorWhenThePayloadIsShorterThanAnnounced) {
  serve([](ServerEnd& end, const Bytes&) {
    EXPECT_TRUE(end.write(head(4)));
    EXPECT_TRUE(end.write(Bytes{1, 2, 3}));
  });
  expectProtocolError();
}

TEST_F(RequestChannelTest, IsAProtocolErrorWhenThePayloadIsLongerThanAnnounced) {
  serve([](ServerEnd& end, const Bytes&) {
    EXPECT_TRUE(end.write(head(4)));
    EXPECT_TRUE(end.write(Bytes{1, 2, 3, 4, 5}));
  });
  expectProtocolError();
}

TEST_F(RequestChannelTest, IsAProtocolErrorWhenBytesFollowAnEmptyAnswersHeader) {
  serve([](ServerEnd& end, const Bytes&) { EXPECT_TRUE(end.write(Bytes(9, 0))); });
  expectProtocolError();
}

TEST_F(RequestChannelTest, RejectsAnAbsurdLengthWithoutWaitingForIt) {
  serve([](ServerEnd& end, const Bytes&) { EXPECT_TRUE(end.write(head(0xFFFFFFFF))); });
  expectProtocolError();
}

TEST_F(RequestChannelTest, TakesNoMemoryForWhatIsOnlyAnnounced) {
  serve([](ServerEnd& end, const Bytes&) {
    EXPECT_TRUE(end.write(head(static_cast<std::uint32_t>(RequestChannel::kLongestResponse))));
    EXPECT_TRUE(end.write(Bytes{1}));
  });
  test::ImportHook<decltype(ReadFile)> hook("kernel32.dll", "ReadFile");
  expectProtocolError();
  for (const auto& call : hook.calls()) EXPECT_LE(std::get<2>(call), 65536u);
}

TEST_F(RequestChannelTest, CarriesTheCodeOfAWriteThatFailsAtOnce) {
  serve([](ServerEnd& end, const Bytes&) { (void)end.clientLeaves(); });
  test::ImportHook<decltype(WriteFile)> hook("kernel32.dll", "WriteFile");
  hook.failAllCalls(ERROR_NOT_ENOUGH_MEMORY, FALSE);
  const auto answer = ask();
  ASSERT_FALSE(answer.ok());
  EXPECT_EQ(answer.error().kind, ErrorKind::System);
  EXPECT_EQ(answer.error().win32Code, DWORD{ERROR_NOT_ENOUGH_MEMORY});
}

}  // namespace
}  // namespace orva_accelerator::client
