// What the system may refuse once the pipe is open.
#include "client/message_pipe.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "client/pipe_opener.h"
#include "tests/client/deadlines.h"
#include "tests/client/server_end.h"
#include "tests/support/import_patch.h"
#include "tests/support/pipe_names.h"

namespace orva_accelerator::client {
namespace {

using test::ImportHook;
using test::ServerEnd;

constexpr char kStep[] = "do the test";

class MessagePipeTest : public testing::Test {
 protected:
  void SetUp() override {
    auto opened = openPipe(Endpoint{name_, false}, patient(), kStep);
    ASSERT_TRUE(opened.ok()) << describe(opened.error());
    pipe_.emplace(std::move(opened.value()));
    ASSERT_TRUE(end_.accept());
  }

  Result<MessagePipe::Piece> read() { return pipe_->read(room_, patient(), kStep); }

  std::wstring name_ = test::uniquePipeName(L"message");
  ServerEnd end_{name_};
  std::optional<MessagePipe> pipe_;
  std::array<std::uint8_t, 16> room_{};
};

TEST_F(MessagePipeTest, KeepsTheCodeOfAReadThatFails) {
  ImportHook<decltype(ReadFile)> hook("kernel32.dll", "ReadFile");
  hook.failCall(1, ERROR_NOT_ENOUGH_MEMORY, FALSE);
  const auto piece = read();
  ASSERT_FALSE(piece.ok());
  EXPECT_EQ(piece.error().kind, ErrorKind::System);
  EXPECT_EQ(describe(piece.error()), "Could not do the test: the pipe failed (Win32 error 8)");
}

TEST_F(MessagePipeTest, KeepsTheCodeOfAWriteThatFails) {
  ImportHook<decltype(WriteFile)> hook("kernel32.dll", "WriteFile");
  hook.failCall(1, ERROR_NO_DATA, FALSE);
  const auto written = pipe_->write(Bytes{1}, patient(), kStep);
  ASSERT_FALSE(written.ok());
  EXPECT_EQ(written.error().kind, ErrorKind::HungUp);
  EXPECT_EQ(written.error().win32Code, DWORD{ERROR_NO_DATA});
}

TEST_F(MessagePipeTest, TakesNoPartOfAMessageForTheWhole) {
  ImportHook<decltype(GetOverlappedResult)> hook("kernel32.dll", "GetOverlappedResult");
  hook.replace([&](HANDLE file, OVERLAPPED* operation, DWORD* transferred, BOOL wait) {
    const BOOL done = hook.callOriginal(file, operation, transferred, wait);
    --*transferred;
    return done;
  });
  const auto written = pipe_->write(Bytes{1, 2}, patient(), kStep);
  ASSERT_FALSE(written.ok());
  EXPECT_EQ(written.error().text, "the pipe took only a part of the message");
}

// The memory is the caller's again, so the read must be over.
TEST_F(MessagePipeTest, EndsTheReadWhenTheWaitForItFails) {
  {
    ImportHook<decltype(WaitForMultipleObjects)> hook("kernel32.dll", "WaitForMultipleObjects");
    hook.failCall(1, ERROR_INVALID_HANDLE, WAIT_FAILED);
    const auto piece = read();
    ASSERT_FALSE(piece.ok());
    EXPECT_EQ(piece.error().kind, ErrorKind::System);
    EXPECT_EQ(piece.error().win32Code, DWORD{ERROR_INVALID_HANDLE});
  }
  ASSERT_TRUE(end_.write(Bytes{7}));
  const auto piece = read();
  ASSERT_TRUE(piece.ok()) << describe(piece.error());
  EXPECT_EQ(piece.value().length, 1U);
  EXPECT_EQ(room_[0], 7);
}

}  // namespace
}  // namespace orva_accelerator::client
