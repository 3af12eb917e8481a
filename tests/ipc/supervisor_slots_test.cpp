// The accept loops that the supervisor starts where there are none.

#include <atomic>
#include <system_error>
#include <thread>
#include <vector>

#include "tests/ipc/supervisor_fixture.h"
#include "tests/support/bounded_wait.h"
#include "tests/support/thread_shortage.h"

namespace orva_accelerator::ipc {
namespace {

class SupervisorSlots : public Supervisor {
 protected:
  SupervisorSlots() {
    processes.set({L"Zandor.exe"});
    inspector.requestAcceptThread().detach();
    inspector.pushAcceptThread().detach();
  }
};

TEST_F(SupervisorSlots, AreFilledInTheFirstCycle) {
  const std::wstring requestName = test::uniquePipeName(L"request");
  const std::wstring pushName = test::uniquePipeName(L"push");
  inspector.startWithoutThreads(requestName, pushName);
  test::RawPipeClient requestClient;
  test::RawPipeClient pushClient;
  beforeCycle = [&](int cycle) {
    if (cycle == 1) {
      EXPECT_FALSE(inspector.requestAcceptThread().joinable());
      EXPECT_FALSE(inspector.pushAcceptThread().joinable());
    } else {
      EXPECT_EQ(requestClient.open(requestName), 0U);
      EXPECT_EQ(pushClient.open(pushName), 0U);
    }
  };
  runUntilCycle(2);
  EXPECT_TRUE(inspector.requestAcceptThread().joinable());
  EXPECT_TRUE(inspector.pushAcceptThread().joinable());
}

// With one thread left, only the slot that comes first gets one.
TEST_F(SupervisorSlots, AreFilledWithThePushLoopFirst) {
  const test::ThreadShortage shortage(1);
  EXPECT_THROW(inspector.runSupervisorLoop(), std::system_error);
  EXPECT_TRUE(inspector.pushAcceptThread().joinable());
  EXPECT_FALSE(inspector.requestAcceptThread().joinable());
}

TEST_F(SupervisorSlots, ThatAreFullKeepTheirThreads) {
  std::thread::id request;
  std::thread::id push;
  beforeCycle = [&](int cycle) {
    if (cycle == 2) {
      request = inspector.requestAcceptThread().get_id();
      push = inspector.pushAcceptThread().get_id();
    }
  };
  runUntilCycle(4);
  EXPECT_NE(request, std::thread::id());
  EXPECT_EQ(inspector.requestAcceptThread().get_id(), request);
  EXPECT_EQ(inspector.pushAcceptThread().get_id(), push);
}

TEST_F(SupervisorSlots, KeepThreadsThatHaveEnded) {
  std::vector<std::thread::id> ended;
  for (std::thread* slot : {&inspector.requestAcceptThread(), &inspector.pushAcceptThread()}) {
    win32::UniqueKernelHandle thread;
    std::atomic<bool> opened{false};
    *slot = std::thread([&] {
      thread.reset(OpenThread(SYNCHRONIZE, FALSE, GetCurrentThreadId()));
      opened = true;
    });
    ASSERT_TRUE(test::waitUntil([&] { return opened.load(); }));
    ASSERT_EQ(WaitForSingleObject(thread.get(), static_cast<DWORD>(test::kPatience.count())),
              DWORD{WAIT_OBJECT_0});
    ended.push_back(slot->get_id());
  }
  runUntilCycle(2);
  EXPECT_EQ(inspector.requestAcceptThread().get_id(), ended[0]);
  EXPECT_EQ(inspector.pushAcceptThread().get_id(), ended[1]);
}

TEST_F(SupervisorSlots, StayEmptyOnceTheServerHasBeenStopped) {
  runUntilCycle(1);
  EXPECT_FALSE(inspector.requestAcceptThread().joinable());
  EXPECT_FALSE(inspector.pushAcceptThread().joinable());
}

TEST_F(SupervisorSlots, FailWithASystemErrorWhenNoThreadCanBeMade) {
  const test::ThreadShortage shortage;
  try {
    inspector.runSupervisorLoop();
    ADD_FAILURE() << "no error";
  } catch (const std::system_error& error) {
    EXPECT_EQ(error.code(), std::errc::resource_unavailable_try_again);
  }
}

}  // namespace
}  // namespace orva_accelerator::ipc
