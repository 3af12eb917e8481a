// The question for a credential, at a real console.
#include <gtest/gtest.h>

#include "tests/support/bounded_wait.h"
#include "tests/support/child_process.h"
#include "win32/unique_handle.h"

namespace orva_accelerator::test {
namespace {

// orvactl at a console of its own that nobody sees, and which this process joins.
class AtAConsole {
 public:
  explicit AtAConsole(const wchar_t* arguments) {
    std::wstring line = L"\"" + shippedFile(L"orvactl.exe") + L"\" " + arguments;
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION information{};
    EXPECT_TRUE(CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW,
                               nullptr, nullptr, &startup, &information))
        << GetLastError();
    process_.reset(information.hProcess);
    thread_.reset(information.hThread);
    id_ = information.dwProcessId;
  }
  AtAConsole(const AtAConsole&) = delete;
  AtAConsole& operator=(const AtAConsole&) = delete;
  ~AtAConsole() {
    // It has ended already when all went well.
    (void)TerminateProcess(process_.get(), 99);
    EXPECT_TRUE(FreeConsole());
    EXPECT_TRUE(SetConsoleCtrlHandler(nullptr, FALSE));
  }

  bool join() {
    // This process was given the console of whoever runs the tests, or none.
    (void)FreeConsole();
    if (!waitUntil([this] { return AttachConsole(id_) != FALSE; })) return false;
    // Ctrl+C is meant for the other one.
    if (!SetConsoleCtrlHandler(nullptr, TRUE)) return false;
    input_.reset(CreateFileW(L"CONIN$", GENERIC_READ | GENERIC_WRITE,
                             FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0,
                             nullptr));
    return bool(input_);
  }
  DWORD mode() const {
    DWORD mode = 0;
    EXPECT_TRUE(GetConsoleMode(input_.get(), &mode)) << GetLastError();
    return mode;
  }
  bool echoes() const { return (mode() & ENABLE_ECHO_INPUT) != 0; }
  HANDLE process() const { return process_.get(); }

 private:
  win32::UniqueKernelHandle process_;
  win32::UniqueKernelHandle thread_;
  win32::UniqueFileHandle input_;
  DWORD id_ = 0;
};

TEST(OrvactlPrompt, PutsTheConsoleBackAtCtrlC) {
  AtAConsole orvactl(L"login player");
  ASSERT_TRUE(orvactl.join()) << GetLastError();
  ASSERT_TRUE(waitUntil([&] { return !orvactl.echoes(); })) << "it does not ask";
  ASSERT_TRUE(GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0)) << GetLastError();
  ASSERT_EQ(WaitForSingleObject(orvactl.process(), static_cast<DWORD>(kPatience.count())),
            WAIT_OBJECT_0);
  DWORD exitCode = 0;
  ASSERT_TRUE(GetExitCodeProcess(orvactl.process(), &exitCode));
  EXPECT_EQ(exitCode, 130u);
  EXPECT_TRUE(orvactl.echoes());
}

}  // namespace
}  // namespace orva_accelerator::test
