#include "ipc/push_pipe.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>

namespace orva_accelerator::test {
namespace {

// Any handle will do: nothing is written here.
HANDLE newHandle() {
  return CreateEventW(nullptr, TRUE, FALSE, nullptr);
}

bool isOpen(HANDLE handle) {
  DWORD flags = 0;
  return GetHandleInformation(handle, &flags) != FALSE;
}

TEST(PushPipe, ClosesItsHandleWhenNobodyWrites) {
  const HANDLE handle = newHandle();
  ipc::PushPipe pipe{win32::UniqueFileHandle(handle)};
  EXPECT_EQ(pipe.get(), handle);
  pipe.close();
  EXPECT_FALSE(isOpen(handle));
  EXPECT_EQ(pipe.get(), INVALID_HANDLE_VALUE);
  pipe.close();
}

TEST(PushPipe, ClosesItsHandleAfterTheLastWrite) {
  const HANDLE handle = newHandle();
  ipc::PushPipe pipe{win32::UniqueFileHandle(handle)};
  std::optional<ipc::PushPipe::Writer> one(std::in_place, pipe);
  std::optional<ipc::PushPipe::Writer> two(std::in_place, pipe);
  EXPECT_EQ(one->get(), handle);
  EXPECT_EQ(two->get(), handle);
  pipe.close();
  one.reset();
  EXPECT_TRUE(isOpen(handle));
  two.reset();
  EXPECT_FALSE(isOpen(handle));
}

TEST(PushPipe, GivesNoHandleToAWriterThatComesAfterTheClose) {
  const HANDLE handle = newHandle();
  ipc::PushPipe pipe{win32::UniqueFileHandle(handle)};
  std::optional<ipc::PushPipe::Writer> early(std::in_place, pipe);
  pipe.close();
  {
    const ipc::PushPipe::Writer late(pipe);
    EXPECT_EQ(late.get(), INVALID_HANDLE_VALUE);
  }
  EXPECT_TRUE(isOpen(handle));
  early.reset();
  EXPECT_FALSE(isOpen(handle));
}

TEST(PushPipe, StaysOpenBetweenWrites) {
  const HANDLE handle = newHandle();
  ipc::PushPipe pipe{win32::UniqueFileHandle(handle)};
  {
    const ipc::PushPipe::Writer writer(pipe);
  }
  EXPECT_TRUE(isOpen(handle));
  const ipc::PushPipe::Writer writer(pipe);
  EXPECT_EQ(writer.get(), handle);
}

TEST(PushPipe, ClosesItsHandleWhenItIsDestroyed) {
  const HANDLE handle = newHandle();
  {
    const ipc::PushPipe pipe{win32::UniqueFileHandle(handle)};
  }
  EXPECT_FALSE(isOpen(handle));
}

TEST(PushPipe, LeavesItsHandleOpenWhenItIsAbandoned) {
  const HANDLE handle = newHandle();
  {
    ipc::PushPipe pipe{win32::UniqueFileHandle(handle)};
    pipe.abandon();
  }
  ASSERT_TRUE(isOpen(handle));
  EXPECT_TRUE(CloseHandle(handle));
}

}  // namespace
}  // namespace orva_accelerator::test
