#include "tests/support/raw_pipe_client.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <thread>

#include "tests/support/pipe_names.h"

namespace orva_accelerator::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

// The other end: one instance of a message-mode pipe, as the service creates them.
class RawPipeClientTest : public testing::Test {
 protected:
  void SetUp() override {
    server_.reset(CreateNamedPipeW(name_.c_str(), PIPE_ACCESS_DUPLEX,
                                   PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE,
                                   PIPE_UNLIMITED_INSTANCES, 8192, 8192, 0, nullptr));
    ASSERT_TRUE(server_) << GetLastError();
  }

  void serverWrites(const Bytes& message) {
    DWORD written = 0;
    ASSERT_TRUE(WriteFile(server_.get(), message.data(), static_cast<DWORD>(message.size()),
                          &written, nullptr))
        << GetLastError();
    ASSERT_EQ(written, message.size());
  }

  const std::wstring name_ = uniquePipeName(L"raw");
  win32::UniqueFileHandle server_;
  RawPipeClient client_;
};

TEST_F(RawPipeClientTest, WritesMessagesThatTheOtherEndReads) {
  ASSERT_EQ(client_.open(name_), 0U);
  ASSERT_TRUE(client_.write(Bytes{1, 2, 3}).done());
  std::uint8_t buffer[8];
  DWORD read = 0;
  ASSERT_TRUE(ReadFile(server_.get(), buffer, sizeof buffer, &read, nullptr));
  EXPECT_EQ(Bytes(buffer, buffer + read), (Bytes{1, 2, 3}));
}

TEST_F(RawPipeClientTest, ReadsOneMessageAtATime) {
  ASSERT_EQ(client_.open(name_), 0U);
  serverWrites({1, 2, 3});
  serverWrites({4});
  EXPECT_EQ(client_.read().message, (Bytes{1, 2, 3}));
  EXPECT_EQ(client_.read().message, (Bytes{4}));
}

TEST_F(RawPipeClientTest, ReadsAMessageLongerThanItsBuffer) {
  ASSERT_EQ(client_.open(name_), 0U);
  Bytes message(8000);
  for (std::size_t i = 0; i < message.size(); ++i) message[i] = static_cast<std::uint8_t>(i * 7);
  serverWrites(message);
  const PipeOutcome outcome = client_.read();
  EXPECT_TRUE(outcome.done());
  EXPECT_EQ(outcome.message, message);
}

TEST_F(RawPipeClientTest, ReadsBytesAcrossMessages) {
  ASSERT_EQ(client_.open(name_), 0U);
  serverWrites({1, 2, 3});
  serverWrites({4, 5, 6});
  EXPECT_EQ(client_.readBytes(4), (Bytes{1, 2, 3, 4}));
  EXPECT_EQ(client_.read().message, (Bytes{5, 6}));
}

TEST_F(RawPipeClientTest, TimesOutAndCanReadAgain) {
  ASSERT_EQ(client_.open(name_), 0U);
  EXPECT_TRUE(client_.staysSilent(std::chrono::milliseconds(20)));
  serverWrites({1});
  EXPECT_EQ(client_.read().message, (Bytes{1}));
}

TEST_F(RawPipeClientTest, TimesOutWritingToAnEndThatDoesNotRead) {
  ASSERT_EQ(client_.open(name_), 0U);
  EXPECT_TRUE(client_.write(Bytes(100'000), std::chrono::milliseconds(50)).timedOut());
}

TEST_F(RawPipeClientTest, SeesTheOtherEndGo) {
  ASSERT_EQ(client_.open(name_), 0U);
  server_.reset();
  EXPECT_TRUE(client_.endsSilently());
  EXPECT_TRUE(client_.write(Bytes{1}).closed());
}

TEST_F(RawPipeClientTest, SeesTheOtherEndGoWhileItWaits) {
  ASSERT_EQ(client_.open(name_), 0U);
  std::thread other([this] { (void)DisconnectNamedPipe(server_.get()); });
  EXPECT_TRUE(client_.endsSilently());
  other.join();
}

TEST_F(RawPipeClientTest, WaitsForAFreeInstance) {
  RawPipeClient first;
  ASSERT_EQ(first.open(name_), 0U);
  EXPECT_EQ(client_.open(name_, std::chrono::milliseconds(20)),
            static_cast<DWORD>(ERROR_PIPE_BUSY));
  EXPECT_FALSE(client_.isOpen());
  first.close();
  std::thread other([this] {
    (void)DisconnectNamedPipe(server_.get());
    (void)ConnectNamedPipe(server_.get(), nullptr);
  });
  EXPECT_EQ(client_.open(name_), 0U);
  other.join();
}

TEST(RawPipeClientWithoutServer, ReportsThatThereIsNoPipe) {
  RawPipeClient client;
  EXPECT_EQ(client.open(uniquePipeName(L"absent"), std::chrono::milliseconds(20)),
            static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
}

TEST(PipeNames, AreNeverHandedOutTwice) {
  EXPECT_NE(uniquePipeName(L"x"), uniquePipeName(L"x"));
}

}  // namespace
}  // namespace orva_accelerator::test
