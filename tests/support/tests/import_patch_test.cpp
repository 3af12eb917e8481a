#include "tests/support/import_patch.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace orva_accelerator::test {
namespace {

// A function that no runtime library calls by itself: some call GetTickCount, from within a lock.
using CodePageHook = ImportHook<decltype(GetOEMCP)>;
using AttributesHook = ImportHook<decltype(GetFileAttributesW)>;

// A function of its own, because a function reads its imports' addresses only once.
__declspec(noinline) UINT codePage() {
  return GetOEMCP();
}

UINT fakeCodePage() {
  return 4711;
}
UINT otherFakeCodePage() {
  return 4712;
}

TEST(ImportPatch, ReplacesAFunctionUntilItIsGone) {
  {
    const ImportPatch patch("kernel32.dll", "GetOEMCP", &fakeCodePage);
    EXPECT_TRUE(patch.installed());
    EXPECT_EQ(codePage(), 4711U);
    EXPECT_NE(patch.original()(), 4711U);
  }
  EXPECT_NE(codePage(), 4711U);
}

TEST(ImportPatch, CoversAnEarlierPatch) {
  const ImportPatch outer("KERNEL32.DLL", "GetOEMCP", &fakeCodePage);
  {
    const ImportPatch inner("kernel32.dll", "GetOEMCP", &otherFakeCodePage);
    EXPECT_EQ(codePage(), 4712U);
    EXPECT_EQ(inner.original()(), 4711U);
  }
  EXPECT_EQ(codePage(), 4711U);
}

TEST(ImportPatch, FailsTheTestWhenTheImportDoesNotExist) {
  EXPECT_NONFATAL_FAILURE(
      {
        const ImportPatch patch("kernel32.dll", "NoSuchFunction", &fakeCodePage);
        EXPECT_FALSE(patch.installed());
      },
      "imports no NoSuchFunction from kernel32.dll");
}

TEST(ImportHook, PassesCallsOnAndRecordsThem) {
  AttributesHook hook("kernel32.dll", "GetFileAttributesW");
  EXPECT_NE(GetFileAttributesW(L"C:\\"), INVALID_FILE_ATTRIBUTES);
  SetLastError(0);
  EXPECT_EQ(GetFileAttributesW(L"C:\\no such file"), INVALID_FILE_ATTRIBUTES);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
  ASSERT_EQ(hook.callCount(), 2U);
  EXPECT_STREQ(std::get<0>(hook.calls()[1]), L"C:\\no such file");
}

TEST(ImportHook, FailsTheNthCallOnly) {
  AttributesHook hook("kernel32.dll", "GetFileAttributesW");
  hook.failCall(2, ERROR_ACCESS_DENIED, INVALID_FILE_ATTRIBUTES);
  EXPECT_NE(GetFileAttributesW(L"C:\\"), INVALID_FILE_ATTRIBUTES);
  SetLastError(0);
  EXPECT_EQ(GetFileAttributesW(L"C:\\"), INVALID_FILE_ATTRIBUTES);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
  EXPECT_NE(GetFileAttributesW(L"C:\\"), INVALID_FILE_ATTRIBUTES);
}

TEST(ImportHook, FailsUntilItIsToldToSucceed) {
  AttributesHook hook("kernel32.dll", "GetFileAttributesW");
  hook.failAllCalls(ERROR_ACCESS_DENIED, INVALID_FILE_ATTRIBUTES);
  EXPECT_EQ(GetFileAttributesW(L"C:\\"), INVALID_FILE_ATTRIBUTES);
  EXPECT_EQ(GetFileAttributesW(L"C:\\"), INVALID_FILE_ATTRIBUTES);
  hook.succeed();
  EXPECT_NE(GetFileAttributesW(L"C:\\"), INVALID_FILE_ATTRIBUTES);
}

TEST(ImportHook, HandsCallsToItsReplacement) {
  AttributesHook hook("kernel32.dll", "GetFileAttributesW");
  std::wstring seen;
  hook.observe([&](LPCWSTR name) { seen = name; });
  hook.replace([&](LPCWSTR name) {
    const DWORD real = hook.callOriginal(name);
    SetLastError(77);
    return real == INVALID_FILE_ATTRIBUTES ? 0U : 1U;
  });
  EXPECT_EQ(GetFileAttributesW(L"C:\\"), 1U);
  EXPECT_EQ(GetLastError(), 77U);
  EXPECT_EQ(GetFileAttributesW(L"C:\\no such file"), 0U);
  EXPECT_EQ(seen, L"C:\\no such file");
}

TEST(ImportHook, ReplacesAFunctionWithoutResult) {
  ImportHook<decltype(Sleep)> hook("kernel32.dll", "Sleep");
  DWORD slept = 0;
  hook.replace([&](DWORD milliseconds) { slept += milliseconds; });
  Sleep(100'000);
  EXPECT_EQ(slept, 100'000U);
}

TEST(ImportHook, KeepsHooksOfTheSameSignatureApart) {
  CodePageHook ticks("kernel32.dll", "GetOEMCP");
  ImportHook<decltype(GetCurrentProcessId)> ids("kernel32.dll", "GetCurrentProcessId");
  ticks.replace([] { return 1UL; });
  ids.replace([] { return 2UL; });
  EXPECT_EQ(GetOEMCP(), 1U);
  EXPECT_EQ(GetCurrentProcessId(), 2U);
}

TEST(ImportHook, ReachesOtherDlls) {
  ImportHook<decltype(OpenSCManagerW)> manager("advapi32.dll", "OpenSCManagerW");
  manager.failAllCalls(ERROR_ACCESS_DENIED, nullptr);
  EXPECT_EQ(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT), nullptr);
}

TEST(ImportHook, CountsCallsOfManyThreadsAndMayBeRemovedBesideThem) {
  std::atomic<bool> stop{false};
  std::atomic<std::size_t> made{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      while (!stop) {
        (void)GetOEMCP();
        ++made;
      }
    });
  }
  for (int round = 0; round < 200; ++round) {
    CodePageHook hook("kernel32.dll", "GetOEMCP");
    hook.failCall(1, 5, 4711);
    while (hook.callCount() < 10) (void)GetOEMCP();
    EXPECT_GE(hook.callCount(), 10U);
  }
  stop = true;
  for (std::thread& thread : threads) thread.join();
  EXPECT_GT(made, 0U);
}

}  // namespace
}  // namespace orva_accelerator::test
