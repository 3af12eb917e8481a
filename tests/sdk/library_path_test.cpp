// Which library is loaded, by where the executable is.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "sdk/accel_sdk_impl.h"
#include "tests/sdk/executable_path.h"
#include "tests/support/fake_kernel.h"

namespace orva_accelerator::test {
namespace {

using sdk::AccelSdkImpl;
using testing::ElementsAre;

constexpr wchar_t kSuffix[] = L"\\accel_sdk\\sdk_x64\\OpenKernel.dll";

struct Row {
  std::wstring executable;
  std::wstring library;
};

void expectLibrary(const Row& row) {
  SCOPED_TRACE(testing::PrintToString(row.executable));
  FakeKernel kernel;
  const ExecutablePath path(row.executable);
  AccelSdkImpl binding;
  EXPECT_EQ(binding.Init({}), 1);
  EXPECT_THAT(kernel.loadedPaths(), ElementsAre(row.library));
}

TEST(SdkLibraryPath, IsBelowTheFolderOfTheExecutable) {
  const std::vector<Row> rows = {
      {L"C:\\Orva\\OrvaAcceleratorService.exe", L"C:\\Orva\\accel_sdk\\sdk_x64\\OpenKernel.dll"},
      {L"C:\\service.exe", L"C:\\accel_sdk\\sdk_x64\\OpenKernel.dll"},
      {L"C:\\Program Files\\Orva 1.0\\service",
       L"C:\\Program Files\\Orva 1.0" + std::wstring(kSuffix)},
      {L"\\\\?\\C:\\Orva\\service.exe", L"\\\\?\\C:\\Orva\\accel_sdk\\sdk_x64\\OpenKernel.dll"},
      {L"\\\\server\\share\\service.exe", L"\\\\server\\share\\accel_sdk\\sdk_x64\\OpenKernel.dll"},
      {L"D:\\\u52A0\u901F\u5668\\\u670D\u52A1.exe",
       L"D:\\\u52A0\u901F\u5668\\accel_sdk\\sdk_x64\\OpenKernel.dll"},
      {L"C:\\Orva\\", L"C:\\Orva\\accel_sdk\\sdk_x64\\OpenKernel.dll"},
      {L"\\service.exe", L"\\accel_sdk\\sdk_x64\\OpenKernel.dll"},
  };
  for (const Row& row : rows) expectLibrary(row);
}

TEST(SdkLibraryPath, TakesASlashForASeparatorToo) {
  const std::vector<Row> rows = {
      {L"C:/Orva/service.exe", L"C:/Orva\\accel_sdk\\sdk_x64\\OpenKernel.dll"},
      {L"C:\\Orva/service.exe", L"C:\\Orva\\accel_sdk\\sdk_x64\\OpenKernel.dll"},
      {L"C:/Orva\\service.exe", L"C:/Orva\\accel_sdk\\sdk_x64\\OpenKernel.dll"},
  };
  for (const Row& row : rows) expectLibrary(row);
}

TEST(SdkLibraryPath, IsTheWholeExecutablePathAndTheSuffixWhenThereIsNoSeparator) {
  expectLibrary({L"service.exe", L"service.exe\\accel_sdk\\sdk_x64\\OpenKernel.dll"});
  expectLibrary({L"C:service.exe", L"C:service.exe\\accel_sdk\\sdk_x64\\OpenKernel.dll"});
}

TEST(SdkLibraryPath, IsMadeOfACutPathWhenThatFillsTheBufferWithoutTerminator) {
  const std::wstring folder = L"C:\\" + std::wstring(100, L'f');
  const std::wstring cut = (folder + L"\\" + std::wstring(300, L'x')).substr(0, 260);
  for (const std::size_t length : {259U, 260U, 261U, 400U}) {
    SCOPED_TRACE(length);
    expectLibrary({(folder + L"\\" + std::wstring(300, L'x')).substr(0, length), folder + kSuffix});
  }

  FakeKernel kernel;
  const ExecutablePath path(cut + L".exe");
  AccelSdkImpl binding;
  EXPECT_EQ(binding.Init({}), 1);
  EXPECT_EQ(kernel.calls().at(0), "Kernel_Init(\"" + std::string(cut.begin(), cut.end()) + "\")");
}

TEST(SdkLibraryPath, IsMadeOf260CharactersWhenACutPathHasNoSeparator) {
  expectLibrary({std::wstring(259, L'x'), std::wstring(259, L'x') + kSuffix});
  expectLibrary({std::wstring(260, L'x'), std::wstring(260, L'x') + kSuffix});
  expectLibrary({std::wstring(300, L'x'), std::wstring(260, L'x') + kSuffix});
}

TEST(SdkLibraryPath, LosesTheFolderThatACutPathEndsIn) {
  // The cut falls within the folder's name, so that the folder above it is taken.
  expectLibrary({L"C:\\Orva\\" + std::wstring(300, L'd') + L"\\service.exe",
                 L"C:\\Orva\\accel_sdk\\sdk_x64\\OpenKernel.dll"});
}

TEST(SdkLibraryPath, AsksForTheProcessItselfWithAZeroedBufferOf260Characters) {
  FakeKernel kernel;
  const ExecutablePath path(L"C:\\Orva\\service.exe");
  AccelSdkImpl binding;
  EXPECT_EQ(binding.Init({}), 1);
  ASSERT_EQ(path.calls().callCount(), 1U);
  EXPECT_EQ(std::get<0>(path.calls().calls()[0]), nullptr);
  EXPECT_EQ(std::get<2>(path.calls().calls()[0]), 260U);
  EXPECT_TRUE(path.bufferWasZeroed());
}

// Where the system looks for what the library imports itself.
class SdkLibrarySearch : public testing::Test {
 protected:
  SdkLibrarySearch() {
    adds_.replace([this](PCWSTR folder) -> DLL_DIRECTORY_COOKIE {
      added.emplace_back(folder);
      return cookie;
    });
    removes.replace([](DLL_DIRECTORY_COOKIE) -> BOOL { return TRUE; });
  }

  FakeKernel kernel;
  const ExecutablePath path{L"C:\\Orva\\service.exe"};
  AccelSdkImpl binding;
  DLL_DIRECTORY_COOKIE cookie = &kernel;
  std::vector<std::wstring> added;
  ImportHook<decltype(SetDefaultDllDirectories)> restricts{"kernel32.dll",
                                                           "SetDefaultDllDirectories"};
  ImportHook<decltype(RemoveDllDirectory)> removes{"kernel32.dll", "RemoveDllDirectory"};

 private:
  ImportHook<decltype(AddDllDirectory)> adds_{"kernel32.dll", "AddDllDirectory"};
};

TEST_F(SdkLibrarySearch, IsRestrictedAndHasTheLibrarysFolderFromTheLoadOn) {
  EXPECT_EQ(binding.Init({}), 1);
  EXPECT_THAT(restricts.calls(), ElementsAre(std::tuple<DWORD>(LOAD_LIBRARY_SEARCH_DEFAULT_DIRS)));
  EXPECT_THAT(added, ElementsAre(L"C:\\Orva\\accel_sdk\\sdk_x64"));
  EXPECT_EQ(removes.callCount(), 0U);
}

TEST_F(SdkLibrarySearch, LosesTheFolderOfALibraryThatIsNotLoaded) {
  kernel.failLoading(ERROR_MOD_NOT_FOUND);
  EXPECT_EQ(binding.Init({}), -1);
  EXPECT_THAT(removes.calls(), ElementsAre(std::tuple(cookie)));
}

TEST_F(SdkLibrarySearch, LosesNothingThatItDidNotGet) {
  kernel.failLoading(ERROR_MOD_NOT_FOUND);
  cookie = nullptr;
  EXPECT_EQ(binding.Init({}), -1);
  EXPECT_EQ(removes.callCount(), 0U);
}

TEST_F(SdkLibrarySearch, LoadsNothingWhereItCannotBeRestricted) {
  restricts.failAllCalls(ERROR_INVALID_PARAMETER, FALSE);
  EXPECT_EQ(binding.Init({}), -1);
  EXPECT_THAT(kernel.loadedPaths(), testing::IsEmpty());
}

}  // namespace
}  // namespace orva_accelerator::test
