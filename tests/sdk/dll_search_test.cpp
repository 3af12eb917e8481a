// Where a library finds what it imports itself: a program of our own, in a folder of the test's
// own, loads a simulated library that imports a second one.
#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <string>
#include <system_error>

#include "tests/support/child_process.h"

namespace orva_accelerator::test {
namespace {

namespace fs = std::filesystem;

class DllSearch : public testing::Test {
 protected:
  DllSearch() {
    fs::create_directories(library);
    fs::create_directories(elsewhere);
    fs::copy_file(shippedFile(L"tests\\init_program.exe"), program);
    fs::copy_file(shippedFile(L"variants\\OpenKernelWithImport.dll"), library / "OpenKernel.dll");
  }
  ~DllSearch() override {
    std::error_code ignored;
    fs::remove_all(folder, ignored);
  }

  void putImported(const fs::path& where) {
    fs::copy_file(shippedFile(L"variants\\OrvaImported.dll"), where / "OrvaImported.dll");
  }
  // The result of the initialisation, as the program prints it.
  std::string result() {
    ChildProcess child(program.wstring(), {}, elsewhere.wstring());
    EXPECT_EQ(child.wait(), std::optional<DWORD>(0));
    return child.output();
  }

  const fs::path folder =
      fs::temp_directory_path() / (L"orva_dll_search_" + std::to_wstring(GetCurrentProcessId()));
  const fs::path application = folder / "application";
  const fs::path library = application / "accel_sdk" / "sdk_x64";
  const fs::path elsewhere = folder / "elsewhere";
  const fs::path program = application / "init_program.exe";
};

TEST_F(DllSearch, FindsWhatLiesBesideTheLibrary) {
  putImported(library);
  EXPECT_EQ(result(), "1\r\n");
}

TEST_F(DllSearch, FindsWhatLiesBesideTheExecutable) {
  putImported(application);
  EXPECT_EQ(result(), "1\r\n");
}

TEST_F(DllSearch, FindsNothingInTheWorkingDirectory) {
  putImported(elsewhere);
  EXPECT_EQ(result(), "-1\r\n");
}

TEST_F(DllSearch, FindsNothingAlongThePath) {
  const fs::path onPath = folder / "path";
  fs::create_directories(onPath);
  putImported(onPath);
  wchar_t path[32'767] = {};
  ASSERT_NE(GetEnvironmentVariableW(L"PATH", path, static_cast<DWORD>(std::size(path))), 0U);
  ASSERT_TRUE(SetEnvironmentVariableW(L"PATH", (onPath.wstring() + L";" + path).c_str()));
  EXPECT_EQ(result(), "-1\r\n");
}

TEST_F(DllSearch, FailsToLoadWhatFindsNoImport) {
  EXPECT_EQ(result(), "-1\r\n");
}

}  // namespace
}  // namespace orva_accelerator::test
