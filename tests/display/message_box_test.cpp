// The message box about a missing function where somebody can see it: a service's boxes are on a
// desktop without a screen, those of an ordinary program are on the display.
#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <string>

#include "tests/simulator/simulator_folder.h"
#include "tests/support/bounded_wait.h"
#include "tests/support/child_process.h"

namespace orva_accelerator::test {
namespace {

// UTF-8 bytes given to the ANSI function, whatever the code page makes of them.
constexpr char kCaption[] = "\xE6\x8F\x90\xE7\xA4\xBA";
constexpr char kDialogClass[] = "#32770";
constexpr int kTextItem = 0xFFFF;

class MessageBoxOnDisplay : public testing::Test {
 protected:
  MessageBoxOnDisplay()
      : folder(std::filesystem::temp_directory_path() /
               (L"Orva Box " + std::to_wstring(GetCurrentProcessId()) + L"-" +
                std::to_wstring(GetTickCount64()))) {
    const std::filesystem::path library = folder / "accel_sdk" / "sdk_x64";
    std::filesystem::create_directories(library);
    std::filesystem::copy_file(testFolder() + L"\\init_program.exe", folder / "init_program.exe");
    SimulatorFolder(library).copyLibrary("OpenKernelWithoutInit");
  }
  ~MessageBoxOnDisplay() override {
    // Files of a process that has just ended stay in use for a moment.
    EXPECT_TRUE(waitUntil([this] {
      std::error_code error;
      std::filesystem::remove_all(folder, error);
      return !error;
    }));
  }

  const std::filesystem::path folder;
};

TEST_F(MessageBoxOnDisplay, StaysUntilItIsDismissedAndThenEndsTheProcess) {
  ChildProcess program((folder / "init_program.exe").wstring());
  ASSERT_EQ(program.startError(), 0U);

  HWND box = nullptr;
  ASSERT_TRUE(waitUntil(
      [&] {
        box = FindWindowA(kDialogClass, kCaption);
        return box != nullptr && IsWindowVisible(box);
      },
      std::chrono::seconds(30)));
  DWORD owner = 0;
  (void)GetWindowThreadProcessId(box, &owner);
  EXPECT_EQ(owner, program.id());
  char text[256] = {};
  (void)GetDlgItemTextA(box, kTextItem, text, sizeof(text));
  EXPECT_STREQ(text, "dll not found api - \"Kernel_Init\"");
  EXPECT_FALSE(program.wait(std::chrono::milliseconds(0)));

  ASSERT_TRUE(PostMessageA(box, WM_COMMAND, IDOK, 0));
  EXPECT_EQ(program.wait(), 0xFFFFFFFFU);
  EXPECT_EQ(program.output(), "");
}

}  // namespace
}  // namespace orva_accelerator::test
