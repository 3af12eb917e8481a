#include "win32/process_list.h"

#include <gtest/gtest.h>
#include <tlhelp32.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/support/handle_count.h"
#include "tests/support/import_patch.h"
#include "win32/image_path.h"

namespace orva_accelerator::test {
namespace {

using win32::findProcess;
using win32::imagePathOf;
using win32::ProcessSearch;
using win32::RunningProcess;

constexpr auto nobody = [](const RunningProcess&) { return false; };

bool isThisProcess(const RunningProcess& process) {
  return process.id == GetCurrentProcessId();
}

TEST(ProcessList, FindsThisProcessUnderItsId) {
  std::wstring name;
  EXPECT_EQ(findProcess([&](const RunningProcess& process) {
              if (!isThisProcess(process)) return false;
              name = process.imageName;
              return true;
            }),
            ProcessSearch::Found);
  const std::wstring path = imagePathOf(GetCurrentProcessId());
  EXPECT_EQ(path.substr(path.find_last_of(L'\\') + 1), name);
}

TEST(ProcessList, AsksOnceAboutEveryProcessAndFindsNothingThatNobodyWants) {
  std::vector<DWORD> ids;
  EXPECT_EQ(findProcess([&](const RunningProcess& process) {
              ids.push_back(process.id);
              return false;
            }),
            ProcessSearch::NotFound);
  EXPECT_EQ(std::ranges::count(ids, GetCurrentProcessId()), 1);
}

TEST(ProcessList, AsksNoFurtherWhenFound) {
  int asked = 0;
  EXPECT_EQ(findProcess([&](const RunningProcess&) { return ++asked == 2; }), ProcessSearch::Found);
  EXPECT_EQ(asked, 2);
}

TEST(ProcessList, LeavesNoHandleWhetherFoundOrNot) {
  const auto before = handleCount(GetCurrentProcessId());
  for (int i = 0; i < 10; ++i) {
    (void)findProcess(isThisProcess);
    (void)findProcess(nobody);
  }
  EXPECT_EQ(handleCount(GetCurrentProcessId()), before);
}

TEST(ProcessList, IsUnknownWhenTheSystemDoesNotGiveIt) {
  ImportHook<decltype(CreateToolhelp32Snapshot)> list("kernel32.dll", "CreateToolhelp32Snapshot");
  list.failAllCalls(ERROR_NO_MORE_FILES, INVALID_HANDLE_VALUE);
  EXPECT_EQ(findProcess(isThisProcess), ProcessSearch::Unknown);
}

TEST(ProcessList, IsUnknownWhenItBreaksOffBeforeWhatIsWanted) {
  ImportHook<BOOL(HANDLE, PROCESSENTRY32W*)> first("kernel32.dll", "Process32FirstW");
  first.failAllCalls(ERROR_BAD_LENGTH, FALSE);
  EXPECT_EQ(findProcess(nobody), ProcessSearch::Unknown);
}

TEST(ProcessList, HasFoundWhatCameBeforeItBrokeOff) {
  ImportHook<BOOL(HANDLE, PROCESSENTRY32W*)> next("kernel32.dll", "Process32NextW");
  next.failAllCalls(ERROR_BAD_LENGTH, FALSE);
  EXPECT_EQ(findProcess([](const RunningProcess&) { return true; }), ProcessSearch::Found);
  EXPECT_EQ(findProcess(nobody), ProcessSearch::Unknown);
}

TEST(ImagePath, IsEmptyForAProcessThatIsNotThere) {
  EXPECT_EQ(imagePathOf(0xFFFFFFF0), L"");
}

TEST(ImagePath, IsEmptyWhenTheSystemDoesNotTell) {
  ImportHook<decltype(QueryFullProcessImageNameW)> query("kernel32.dll",
                                                         "QueryFullProcessImageNameW");
  query.failAllCalls(ERROR_ACCESS_DENIED, FALSE);
  EXPECT_EQ(imagePathOf(GetCurrentProcessId()), L"");
}

}  // namespace
}  // namespace orva_accelerator::test
