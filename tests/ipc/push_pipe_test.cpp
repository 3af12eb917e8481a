#include "ipc/push_pipe.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <optional>

#include "tests/ipc/background_call.h"

namespace orva_accelerator::test {
namespace {

using Writer = ipc::PushPipe::Writer;

// Any handle will do: nothing is written here.
HANDLE newHandle() {
  return CreateEventW(nullptr, TRUE, FALSE, nullptr);
}

bool isOpen(HANDLE handle) {
  DWORD flags = 0;
  return GetHandleInformation(handle, &flags) != FALSE;
}

class PushPipe : public testing::Test {
 protected:
  ipc::WatchedThread watched_;
  const HANDLE handle_ = newHandle();
  std::optional<ipc::PushPipe> pipe_{std::in_place, win32::UniqueFileHandle(handle_)};
};

TEST_F(PushPipe, ClosesItsHandleWhenNobodyWrites) {
  EXPECT_EQ(pipe_->get(), handle_);
  pipe_->close();
  EXPECT_FALSE(isOpen(handle_));
  EXPECT_EQ(pipe_->get(), INVALID_HANDLE_VALUE);
  pipe_->close();
}

TEST_F(PushPipe, ClosesItsHandleAfterTheFrameThatIsUnderWay) {
  std::optional<Writer> writing(std::in_place, *pipe_, watched_);
  EXPECT_EQ(writing->get(), handle_);
  pipe_->close();
  EXPECT_EQ(writing->get(), handle_);
  EXPECT_TRUE(isOpen(handle_));
  writing.reset();
  EXPECT_FALSE(isOpen(handle_));
}

TEST_F(PushPipe, GivesNoHandleToAWriterThatComesAfterTheClose) {
  std::optional<Writer> early(std::in_place, *pipe_, watched_);
  pipe_->close();
  {
    const Writer later(*pipe_, watched_);
    EXPECT_EQ(later.get(), INVALID_HANDLE_VALUE);
  }
  EXPECT_TRUE(isOpen(handle_));
  early.reset();
  EXPECT_FALSE(isOpen(handle_));
}

TEST_F(PushPipe, StaysOpenBetweenWriters) {
  for (int i = 0; i < 2; ++i) {
    const Writer writer(*pipe_, watched_);
    EXPECT_EQ(writer.get(), handle_);
  }
}

TEST_F(PushPipe, GivesOneWriterAtATimeItsTurn) {
  std::optional<Writer> writing(std::in_place, *pipe_, watched_);
  std::atomic<HANDLE> given{nullptr};
  const BackgroundCall waiting([&] {
    ipc::WatchedThread watched;
    given = Writer(*pipe_, watched).get();
  });
  EXPECT_FALSE(waiting.ends(std::chrono::milliseconds(50)));
  writing.reset();
  EXPECT_TRUE(waiting.ends());
  EXPECT_EQ(given, handle_);
}

TEST_F(PushPipe, GivesNoHandleToAnybodyOnceAFrameHasFailed) {
  Writer writing(*pipe_, watched_);
  std::atomic<HANDLE> given{nullptr};
  const BackgroundCall waiting([&] {
    ipc::WatchedThread watched;
    given = Writer(*pipe_, watched).get();
  });
  EXPECT_FALSE(waiting.ends(std::chrono::milliseconds(50)));
  writing.fail();
  EXPECT_TRUE(waiting.ends()) << "though the turn is not passed on";
  EXPECT_EQ(given, INVALID_HANDLE_VALUE);
  EXPECT_EQ(Writer(*pipe_, watched_).get(), INVALID_HANDLE_VALUE);
  EXPECT_TRUE(isOpen(handle_)) << "whoever drops the client closes it";
}

TEST_F(PushPipe, EndsTheWaitingOfWritersWhenItIsClosed) {
  const Writer writing(*pipe_, watched_);
  std::atomic<HANDLE> given{nullptr};
  const BackgroundCall waiting([&] {
    ipc::WatchedThread watched;
    given = Writer(*pipe_, watched).get();
  });
  EXPECT_FALSE(waiting.ends(std::chrono::milliseconds(50)));
  pipe_->close();
  EXPECT_TRUE(waiting.ends());
  EXPECT_EQ(given, INVALID_HANDLE_VALUE);
}

TEST_F(PushPipe, ClosesItsHandleWhenItIsDestroyed) {
  pipe_.reset();
  EXPECT_FALSE(isOpen(handle_));
}

TEST_F(PushPipe, LeavesItsHandleOpenWhenItIsAbandoned) {
  pipe_->abandon();
  pipe_.reset();
  ASSERT_TRUE(isOpen(handle_));
  EXPECT_TRUE(CloseHandle(handle_));
}

}  // namespace
}  // namespace orva_accelerator::test
