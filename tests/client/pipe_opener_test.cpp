#include "client/pipe_opener.h"

#include <gtest/gtest.h>

#include <future>

#include "tests/client/deadlines.h"
#include "tests/client/server_end.h"
#include "tests/support/import_patch.h"
#include "tests/support/pipe_names.h"

namespace orva_accelerator::client {
namespace {

using std::chrono::milliseconds;
using test::ImportHook;
using test::ServerEnd;

Endpoint endpoint(std::wstring name) {
  return Endpoint{std::move(name), false};
}

Result<MessagePipe> open(const std::wstring& name, const Deadline& deadline) {
  return openPipe(endpoint(name), deadline, "open the test pipe");
}

TEST(PipeOpener, SaysThatTheServiceDoesNotRunWhenNobodyCreatesThePipe) {
  const auto pipe = open(test::uniquePipeName(L"nobody"), soon());
  ASSERT_FALSE(pipe.ok());
  EXPECT_EQ(pipe.error().kind, ErrorKind::NotRunning);
  EXPECT_EQ(pipe.error().win32Code, DWORD{ERROR_FILE_NOT_FOUND});
  EXPECT_EQ(describe(pipe.error()),
            "Could not open the test pipe: the service is not running (Win32 error 2)");
}

TEST(PipeOpener, TimesOutWhenEveryInstanceStaysBusy) {
  const auto name = test::uniquePipeName(L"busy");
  ServerEnd end(name, nullptr, 1);
  const auto first = open(name, patient());
  ASSERT_TRUE(first.ok());
  const auto second = open(name, soon());
  ASSERT_FALSE(second.ok());
  EXPECT_EQ(second.error().kind, ErrorKind::Timeout);
  EXPECT_EQ(second.error().win32Code, DWORD{ERROR_PIPE_BUSY});
}

TEST(PipeOpener, TriesOnceEvenWhenTheDeadlineHasPassed) {
  const auto name = test::uniquePipeName(L"once");
  ServerEnd end(name);
  EXPECT_TRUE(open(name, Deadline::after(milliseconds(0))).ok());
}

TEST(PipeOpener, TriesAgainUntilThePipeAppears) {
  const auto name = test::uniquePipeName(L"late");
  ImportHook<decltype(CreateFileW)> hook("kernel32.dll", "CreateFileW");
  auto opened = std::async(std::launch::async, [&] { return open(name, patient()); });
  // The pipe is made only after a first try has failed for lack of it.
  ASSERT_TRUE(test::waitUntil([&] { return hook.callCount() >= 2; }));
  ServerEnd end(name);
  EXPECT_TRUE(opened.get().ok());
}

TEST(PipeOpener, TriesAgainUntilAnInstanceIsFree) {
  const auto name = test::uniquePipeName(L"freed");
  ServerEnd end(name, nullptr, 1);
  auto first = std::make_optional(open(name, patient()));
  ASSERT_TRUE(first->ok());
  ASSERT_TRUE(end.accept());
  ImportHook<decltype(CreateFileW)> hook("kernel32.dll", "CreateFileW");
  auto opened = std::async(std::launch::async, [&] { return open(name, patient()); });
  ASSERT_TRUE(test::waitUntil([&] { return hook.callCount() >= 1; }));
  first.reset();
  end.disconnect();
  ASSERT_TRUE(end.accept());
  EXPECT_TRUE(opened.get().ok());
}

TEST(PipeOpener, StopsTryingWhenInterrupted) {
  const win32::UniqueKernelHandle interrupt(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  ASSERT_TRUE(interrupt);
  ImportHook<decltype(CreateFileW)> hook("kernel32.dll", "CreateFileW");
  auto opened = std::async(std::launch::async, [&] {
    return openPipe(endpoint(test::uniquePipeName(L"nobody")), patient(), "open", interrupt.get());
  });
  ASSERT_TRUE(test::waitUntil([&] { return hook.callCount() >= 1; }));
  ASSERT_TRUE(SetEvent(interrupt.get()));
  EXPECT_EQ(opened.get().error().kind, ErrorKind::Interrupted);
}

TEST(PipeOpener, DoesNotTryAgainAfterAnyOtherError) {
  ImportHook<decltype(CreateFileW)> hook("kernel32.dll", "CreateFileW");
  hook.failAllCalls(ERROR_ACCESS_DENIED, INVALID_HANDLE_VALUE);
  const auto pipe = open(test::uniquePipeName(L"denied"), patient());
  ASSERT_FALSE(pipe.ok());
  EXPECT_EQ(pipe.error().kind, ErrorKind::System);
  EXPECT_EQ(pipe.error().win32Code, DWORD{ERROR_ACCESS_DENIED});
  EXPECT_EQ(hook.callCount(), 1u);
}

TEST(PipeOpener, KeepsTheCodeOfAnErrorThatNobodyKnows) {
  ImportHook<decltype(CreateFileW)> hook("kernel32.dll", "CreateFileW");
  hook.failAllCalls(ERROR_NOT_ENOUGH_MEMORY, INVALID_HANDLE_VALUE);
  const auto pipe = open(test::uniquePipeName(L"unknown"), patient());
  ASSERT_FALSE(pipe.ok());
  EXPECT_EQ(describe(pipe.error()),
            "Could not open the test pipe: the pipe cannot be opened (Win32 error 8)");
}

TEST(PipeOpener, FailsWhenThereIsNoEventToWaitFor) {
  const auto name = test::uniquePipeName(L"no_event");
  ServerEnd end(name);
  ImportHook<decltype(CreateEventW)> hook("kernel32.dll", "CreateEventW");
  hook.failAllCalls(ERROR_NOT_ENOUGH_MEMORY, nullptr);
  const auto pipe = open(name, patient());
  ASSERT_FALSE(pipe.ok());
  EXPECT_EQ(pipe.error().kind, ErrorKind::System);
  EXPECT_EQ(pipe.error().win32Code, DWORD{ERROR_NOT_ENOUGH_MEMORY});
}

TEST(PipeOpener, OpensAtTheAnonymousLevelForOverlappedUse) {
  const auto name = test::uniquePipeName(L"anonymous");
  ServerEnd end(name);
  ImportHook<decltype(CreateFileW)> hook("kernel32.dll", "CreateFileW");
  ASSERT_TRUE(open(name, patient()).ok());
  const auto call = hook.calls().at(0);
  EXPECT_EQ(std::get<1>(call), static_cast<DWORD>(GENERIC_READ | GENERIC_WRITE));
  EXPECT_EQ(std::get<4>(call), DWORD{OPEN_EXISTING});
  EXPECT_EQ(std::get<5>(call),
            DWORD{FILE_FLAG_OVERLAPPED | SECURITY_SQOS_PRESENT | SECURITY_ANONYMOUS});
}

TEST(PipeOpener, PutsThePipeIntoMessageMode) {
  const auto name = test::uniquePipeName(L"mode");
  ServerEnd end(name);
  const auto pipe = open(name, patient());
  ASSERT_TRUE(pipe.ok());
  DWORD state = 0;
  ASSERT_TRUE(GetNamedPipeHandleStateW(pipe.value().handle(), &state, nullptr, nullptr, nullptr,
                                       nullptr, 0));
  EXPECT_EQ(state & PIPE_READMODE_MESSAGE, DWORD{PIPE_READMODE_MESSAGE});
}

TEST(PipeOpener, FailsWhenThePipeCannotBePutIntoMessageMode) {
  const auto name = test::uniquePipeName(L"mode_fails");
  ServerEnd end(name);
  ImportHook<decltype(SetNamedPipeHandleState)> hook("kernel32.dll", "SetNamedPipeHandleState");
  hook.failAllCalls(ERROR_INVALID_PARAMETER, FALSE);
  const auto pipe = open(name, patient());
  ASSERT_FALSE(pipe.ok());
  EXPECT_EQ(pipe.error().win32Code, DWORD{ERROR_INVALID_PARAMETER});
}

}  // namespace
}  // namespace orva_accelerator::client
