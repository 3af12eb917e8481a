#include "win32/executable_path.h"

#include <gtest/gtest.h>

#include <cwchar>

#include "tests/sdk/executable_path.h"
#include "win32/image_path.h"

namespace orva_accelerator::test {
namespace {

using win32::ownExecutablePath;

TEST(OwnExecutablePath, IsThatOfTheRunningProgram) {
  const auto path = ownExecutablePath();
  ASSERT_TRUE(path);
  EXPECT_EQ(_wcsicmp(path->c_str(), win32::imagePathOf(GetCurrentProcessId()).c_str()), 0);
}

TEST(OwnExecutablePath, IsCutWhereTheRoomOf260UnitsEnds) {
  const ExecutablePath executable(L"C:\\" + std::wstring(300, L'x'));
  EXPECT_EQ(ownExecutablePath(), L"C:\\" + std::wstring(257, L'x'));
}

TEST(OwnExecutablePath, IsNothingWhenTheSystemDoesNotTell) {
  ImportHook<decltype(GetModuleFileNameW)> path("kernel32.dll", "GetModuleFileNameW");
  path.failAllCalls(ERROR_INVALID_HANDLE, 0);
  EXPECT_EQ(ownExecutablePath(), std::nullopt);
}

}  // namespace
}  // namespace orva_accelerator::test
