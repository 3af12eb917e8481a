#include "ipc/process_search.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/ipc/fake_process_list.h"

namespace orva_accelerator::ipc {
namespace {

using test::FakeProcessList;

TEST(FindProcessByName, FindsAProcessWhateverTheCaseOfTheLetters) {
  FakeProcessList processes({L"System", L"explorer.exe", L"zANDOR.Exe"});
  EXPECT_TRUE(FindProcessByName(L"Zandor.exe"));
  EXPECT_TRUE(FindProcessByName(L"ZANDOR.EXE"));
  EXPECT_TRUE(FindProcessByName(L"zandor.exe"));
  EXPECT_TRUE(FindProcessByName(L"system"));
}

TEST(FindProcessByName, ComparesWholeNames) {
  FakeProcessList processes({L"MyZandor.exe", L"Zandor.exe.bak", L"Zandor.ex", L"Zandor",
                             L"andor.exe", L"Zandor.exe ", L"Zandor_exe", L"",
                             // Equal for a reader.
                             L"Zan\u00ADdor.exe", L"\uFF3Aandor.exe"});
  EXPECT_FALSE(FindProcessByName(L"Zandor.exe"));
}

TEST(FindProcessByName, FindsNothingAmongNoProcesses) {
  FakeProcessList processes;
  EXPECT_FALSE(FindProcessByName(L"Zandor.exe"));
}

TEST(FindProcessByName, FindsNothingForAnEmptyNameWithoutLooking) {
  FakeProcessList processes({L""});
  EXPECT_FALSE(FindProcessByName(L""));
  EXPECT_EQ(processes.searches(), 0U);
}

TEST(FindProcessByName, FindsNothingWhenTheSnapshotFails) {
  FakeProcessList processes({L"Zandor.exe"});
  processes.failSnapshot();
  EXPECT_FALSE(FindProcessByName(L"Zandor.exe"));
  EXPECT_EQ(processes.searches(), 1U);
}

TEST(FindProcessByName, FindsNothingWhenTheFirstProcessCannotBeRead) {
  FakeProcessList processes({L"Zandor.exe"});
  processes.failFirst();
  EXPECT_FALSE(FindProcessByName(L"Zandor.exe"));
  EXPECT_EQ(processes.openSnapshots(), 0);
}

TEST(FindProcessByName, ClosesTheSnapshotWhetherFoundOrNot) {
  FakeProcessList processes({L"a.exe", L"Zandor.exe", L"b.exe"});
  EXPECT_TRUE(FindProcessByName(L"Zandor.exe"));
  EXPECT_EQ(processes.openSnapshots(), 0);
  EXPECT_FALSE(FindProcessByName(L"c.exe"));
  EXPECT_EQ(processes.openSnapshots(), 0);
}

TEST(FindProcessByName, FindsThisVeryProcessAmongTheRealOnes) {
  wchar_t path[MAX_PATH] = {};
  ASSERT_NE(GetModuleFileNameW(nullptr, path, MAX_PATH), 0U);
  std::wstring name(path);
  name.erase(0, name.find_last_of(L'\\') + 1);
  std::wstring upper = name;
  for (wchar_t& unit : upper) {
    if (unit >= L'a' && unit <= L'z') unit = static_cast<wchar_t>(unit - L'a' + L'A');
  }
  EXPECT_TRUE(FindProcessByName(name));
  EXPECT_TRUE(FindProcessByName(upper));
  EXPECT_FALSE(FindProcessByName(name.substr(1)));
  EXPECT_FALSE(FindProcessByName(name + L"x"));
  EXPECT_FALSE(FindProcessByName(path));
}

}  // namespace
}  // namespace orva_accelerator::ipc
