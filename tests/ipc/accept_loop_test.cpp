// The accept loops of both pipes, with system calls that fail.
#include <gtest/gtest.h>
#include <windows.h>
// After windows.h, which it does not include.
#include <sddl.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "tests/ipc/background_call.h"
#include "tests/ipc/channel_test.h"
#include "tests/ipc/pipe_call_log.h"
#include "tests/support/import_patch.h"

namespace orva_accelerator::test {
namespace {

enum class Channel { Request, Push };

// The system's own way to write an access list, which need not be the way it was given.
std::wstring textOf(PSECURITY_DESCRIPTOR descriptor) {
  LPWSTR text = nullptr;
  EXPECT_TRUE(ConvertSecurityDescriptorToStringSecurityDescriptorW(
      descriptor, SDDL_REVISION_1, DACL_SECURITY_INFORMATION, &text, nullptr));
  const win32::UniqueLocalMemory owned(text);
  return text == nullptr ? L"" : text;
}

std::wstring normalised(const wchar_t* sddl) {
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  EXPECT_TRUE(ConvertStringSecurityDescriptorToSecurityDescriptorW(sddl, SDDL_REVISION_1,
                                                                   &descriptor, nullptr));
  const win32::UniqueLocalMemory owned(descriptor);
  return textOf(descriptor);
}

// What the one loop under test passed to CreateNamedPipeW.
struct Creation {
  std::wstring name;
  DWORD openMode, pipeMode, instances, outSize, inSize, timeout;
  DWORD securityLength;
  BOOL inherit;
  std::wstring sddl;
};

class AcceptLoop : public ChannelTest, public testing::WithParamInterface<Channel> {
 protected:
  AcceptLoop() {
    create_.observe([this](LPCWSTR name, DWORD openMode, DWORD pipeMode, DWORD instances,
                           DWORD outSize, DWORD inSize, DWORD timeout,
                           LPSECURITY_ATTRIBUTES security) {
      const std::lock_guard lock(mutex_);
      creations_.push_back({name, openMode, pipeMode, instances, outSize, inSize, timeout,
                            security->nLength, security->bInheritHandle,
                            textOf(security->lpSecurityDescriptor)});
    });
    sleep_.replace([this](DWORD milliseconds) {
      if (milliseconds != 1000) return sleep_.callOriginal(milliseconds);
      if (++longSleeps_ == stopAtSleep_) server_.stop();
    });
  }
  // A loop that is still there would come back to hooks that are gone with this object.
  ~AcceptLoop() override { EXPECT_TRUE(!loop_ || endLoop()); }

  const std::wstring& name() const {
    return GetParam() == Channel::Request ? requestName_ : pushName_;
  }
  void runLoop() {
    inspector_.startWithoutThreads(requestName_, pushName_);
    inspector_.messageHandler() = [this](auto&&... arguments) {
      ipc::DispatchRequest(server_, arguments...);
    };
    loop_ = std::make_unique<BackgroundCall>([this] {
      GetParam() == Channel::Request ? inspector_.runRequestAcceptLoop()
                                     : inspector_.runPushAcceptLoop();
    });
  }
  bool endLoop() {
    server_.stop();
    for (int i = 0; i < 2 && !loop_->ends(std::chrono::milliseconds(0)); ++i) {
      RawPipeClient client;
      (void)client.open(name(), std::chrono::milliseconds(500));
      (void)loop_->ends(std::chrono::milliseconds(500));
    }
    return loop_->ends();
  }
  void expectClientIsTaken() {
    if (GetParam() == Channel::Request) {
      RawPipeClient client = connect();
      expectServed(client);
    } else {
      RawPipeClient client = registerPushClient(5);
      EXPECT_TRUE(server_.BroadcastPush(1, 2, nullptr, 0));
    }
  }
  std::vector<Creation> creations() {
    const std::lock_guard lock(mutex_);
    return creations_;
  }

  std::mutex mutex_;
  std::vector<Creation> creations_;
  std::atomic<int> longSleeps_{0};
  int stopAtSleep_ = 0;
  ImportHook<decltype(CreateNamedPipeW)> create_{"kernel32.dll", "CreateNamedPipeW"};
  ImportHook<void WINAPI(DWORD)> sleep_{"kernel32.dll", "Sleep"};
  PipeCallLog log_;
  std::unique_ptr<BackgroundCall> loop_;
};

TEST_P(AcceptLoop, CreatesEveryInstanceWithTheSameArguments) {
  ImportHook<decltype(ConvertStringSecurityDescriptorToSecurityDescriptorW)> convert(
      "advapi32.dll", "ConvertStringSecurityDescriptorToSecurityDescriptorW");
  runLoop();
  expectClientIsTaken();
  ASSERT_TRUE(waitUntil([this] { return creations().size() == 2; }));
  EXPECT_EQ(convert.callCount(), 1U);  // The other loop may be using the descriptor.
  for (const Creation& creation : creations()) {
    EXPECT_EQ(creation.name, name());
    EXPECT_EQ(creation.openMode, 3U);
    EXPECT_EQ(creation.pipeMode, 6U);
    EXPECT_EQ(creation.instances, 255U);
    EXPECT_EQ(creation.outSize, 8192U);
    EXPECT_EQ(creation.inSize, 8192U);
    EXPECT_EQ(creation.timeout, 0U);
    EXPECT_EQ(creation.securityLength, 24U);
    EXPECT_FALSE(creation.inherit);
    EXPECT_EQ(creation.sddl, normalised(L"D:(A;;GRGW;;;AU)"));
  }
  EXPECT_EQ(longSleeps_, 0);
}

TEST_P(AcceptLoop, TriesAgainAfterASecondWhenThereIsNoInstance) {
  create_.failCalls(1, 3, ERROR_PIPE_BUSY, INVALID_HANDLE_VALUE);
  runLoop();
  expectClientIsTaken();
  EXPECT_EQ(longSleeps_, 3);
}

TEST_P(AcceptLoop, GivesUpTryingWhenTheServerIsStopped) {
  create_.failAllCalls(ERROR_PIPE_BUSY, INVALID_HANDLE_VALUE);
  stopAtSleep_ = 3;
  runLoop();
  EXPECT_TRUE(loop_->ends());
  EXPECT_EQ(creations().size(), 3U);
}

TEST_P(AcceptLoop, ClosesTheInstanceAndTriesAgainAtOnceWhenTheConnectionFails) {
  log_.connectNamedPipe.failCalls(1, 2, ERROR_NO_DATA, FALSE);
  runLoop();
  // A client could connect even to an instance that is about to be closed.
  ASSERT_TRUE(waitUntil([this] { return log_.listeners().size() == 3; }));
  expectClientIsTaken();
  EXPECT_EQ(log_.of(log_.listeners().front()),
            (PipeCallLog::Lines{"ConnectNamedPipe", "CloseHandle"}));
  EXPECT_EQ(longSleeps_, 0);
}

// The client comes after the instance was created and before the loop waits for it.
TEST_P(AcceptLoop, TakesAClientThatConnectedBeforeItWaited) {
  RawPipeClient early;
  create_.replace([&](LPCWSTR pipeName, auto... rest) -> HANDLE {
    const HANDLE pipe = create_.callOriginal(pipeName, rest...);
    if (!early.isOpen()) {
      EXPECT_EQ(early.open(pipeName), 0U);
    }
    return pipe;
  });
  runLoop();
  if (GetParam() == Channel::Request) {
    ASSERT_TRUE(waitUntil([&] { return inspector_.requestPipes().size() == 1; }));
    expectServed(early);
  } else {
    ASSERT_TRUE(waitUntil([&] { return log_.listeners().size() == 2; }));
    ASSERT_TRUE(early.write(u32Bytes({5})).done());
    EXPECT_TRUE(pushClientCountBecomes(1));
  }
}

HANDLE remotePipe = nullptr;

// Knows one pipe whose client is on another computer.
BOOL WINAPI clientComputerName(HANDLE pipe, LPWSTR name, ULONG size) {
  if (pipe == remotePipe && size >= 2 * sizeof(wchar_t)) {
    name[0] = L'X';
    name[1] = L'\0';
    return TRUE;
  }
  SetLastError(ERROR_PIPE_LOCAL);
  return FALSE;
}

TEST_P(AcceptLoop, ClosesAConnectionFromAnotherComputerAtOnce) {
  remotePipe = nullptr;
  ImportHook<decltype(GetProcAddress)> lookUp("kernel32.dll", "GetProcAddress");
  lookUp.replace([&](HMODULE module, LPCSTR name) -> FARPROC {
    if (std::string_view(name) != "GetNamedPipeClientComputerNameW") {
      return lookUp.callOriginal(module, name);
    }
    return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&clientComputerName));
  });
  create_.replace([this](auto... arguments) {
    const HANDLE pipe = create_.callOriginal(arguments...);
    if (remotePipe == nullptr) remotePipe = pipe;
    return pipe;
  });
  runLoop();
  RawPipeClient remote;
  ASSERT_EQ(remote.open(name()), 0U);
  EXPECT_TRUE(remote.endsSilently());
  EXPECT_TRUE(log_.becomes(remotePipe, {"ConnectNamedPipe", "CloseHandle"}))
      << testing::PrintToString(log_.of(remotePipe));
  // The next one may have the same handle.
  remotePipe = INVALID_HANDLE_VALUE;
  expectClientIsTaken();
  EXPECT_EQ(longSleeps_, 0);
}

TEST_P(AcceptLoop, EndsWithoutAPipeWhenItsSecurityCannotBeBuilt) {
  ImportHook<decltype(ConvertStringSecurityDescriptorToSecurityDescriptorW)> convert(
      "advapi32.dll", "ConvertStringSecurityDescriptorToSecurityDescriptorW");
  convert.failAllCalls(ERROR_NOT_ENOUGH_MEMORY, FALSE);
  runLoop();
  EXPECT_TRUE(loop_->ends());
  EXPECT_EQ(convert.callCount(), 1U);
  EXPECT_TRUE(creations().empty());
  EXPECT_TRUE(server_.isRunning());
}

TEST_P(AcceptLoop, CreatesNothingWhenTheServerDoesNotRun) {
  inspector_.startWithoutThreads(requestName_, pushName_);
  inspector_.setRunning(false);
  GetParam() == Channel::Request ? inspector_.runRequestAcceptLoop()
                                 : inspector_.runPushAcceptLoop();
  EXPECT_TRUE(creations().empty());
}

INSTANTIATE_TEST_SUITE_P(Channels, AcceptLoop, testing::Values(Channel::Request, Channel::Push),
                         [](const auto& test) {
                           return test.param == Channel::Request ? "Request" : "Push";
                         });

}  // namespace
}  // namespace orva_accelerator::test
