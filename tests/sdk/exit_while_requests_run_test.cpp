// A library that lacks a function ends the process from inside an initialisation, while other
// requests run.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>

#include "sdk/accel_sdk.h"
#include "tests/support/bounded_wait.h"
#include "tests/support/fake_kernel.h"
#include "tests/support/message_box_stand_in.h"
#include "win32/detached_thread.h"

namespace orva_accelerator::test {
namespace {

std::atomic<int> boxes = 0;
std::atomic<bool> dismissed = false;
std::atomic<int> rounds = 0;

// Destroyed after every other static object, it lets the other threads go on for a while with what
// those have left, and then says what they did.
class LastObject {
 public:
  LastObject() = default;
  LastObject(const LastObject&) = delete;
  LastObject& operator=(const LastObject&) = delete;
  ~LastObject() {
    if (boxes == 0) return;
    // One more client asks for an initialisation.
    win32::startDetachedThread([] { (void)sdk::AccelSdk::Instance().Init({}); });
    (void)waitUntil([] { return boxes > 1; }, std::chrono::milliseconds(500));
    std::fprintf(stderr, "boxes: %d\n", boxes.load());
    (void)std::fflush(stderr);
  }
};
[[gnu::init_priority(101)]] LastObject lastObject;

// What requests ask of the binding; those that wait for its mutex stay there until the end.
template <typename Request>
void goOn(Request request) {
  win32::startDetachedThread([request] {
    for (;;) {
      request();
      ++rounds;
    }
  });
}

void initialiseAmongOtherRequests() {
  auto& kernel = *new FakeKernel;  // Outlives everything.
  kernel.remove("Kernel_GetGameCollectNodeDataList");
  (void)new MessageBoxStandIn([](auto...) {
    ++boxes;
    (void)waitUntil([] { return dismissed.load(); });
    return IDOK;
  });
  const auto sdk = []() -> sdk::AccelSdk& { return sdk::AccelSdk::Instance(); };
  win32::startDetachedThread([sdk] { (void)sdk().Init({}); });
  EXPECT_TRUE(waitUntil([] { return boxes == 1; }));
  goOn([sdk] { (void)sdk().IsInitialised(); });
  goOn([sdk] { (void)sdk().GetAccelData(); });
  goOn([sdk] { (void)sdk().Init({}); });
  goOn([sdk] { (void)sdk().StopAccel([](int, const std::wstring&) {}); });
  goOn([sdk] { (void)sdk().StartAccel(1, 2, L"", L"", 3, {}); });
  goOn([sdk] { sdk().Release(); });
  EXPECT_TRUE(waitUntil([] { return rounds > 1000; }));
  dismissed = true;
  Sleep(INFINITE);
}

TEST(ExitWhileRequestsRun, ShowsOneBoxAndEndsWithMinusOne) {
  EXPECT_EXIT(initialiseAmongOtherRequests(), testing::ExitedWithCode(-1), "boxes: 1\n");
}

}  // namespace
}  // namespace orva_accelerator::test
