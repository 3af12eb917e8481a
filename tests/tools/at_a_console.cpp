#include "tests/tools/at_a_console.h"

#include <gtest/gtest.h>

#include "tests/support/bounded_wait.h"
#include "tests/support/child_process.h"
#include "tests/support/process_start.h"

namespace orva_accelerator::test {
namespace {

win32::UniqueFileHandle openConsole(const wchar_t* name) {
  SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
  return win32::UniqueFileHandle(CreateFileW(name, GENERIC_READ | GENERIC_WRITE,
                                             FILE_SHARE_READ | FILE_SHARE_WRITE, &inheritable,
                                             OPEN_EXISTING, 0, nullptr));
}

win32::UniqueKernelHandle start(const std::wstring& program, const std::wstring& line, DWORD flags,
                                STARTUPINFOW startup, DWORD& id) {
  PROCESS_INFORMATION started{};
  EXPECT_EQ(startProcess(program, line, flags, {}, startup, started), 0u);
  const win32::UniqueKernelHandle thread(started.hThread);
  id = started.dwProcessId;
  return win32::UniqueKernelHandle(started.hProcess);
}

}  // namespace

AtAConsole::AtAConsole() {
  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  DWORD id = 0;
  owner_ =
      start(testFolder() + L"\\idle_program.exe", L"idle_program", CREATE_NO_WINDOW, startup, id);
  // This process was given the console of whoever runs the tests, or none.
  (void)FreeConsole();
  if (!waitUntil([id] { return AttachConsole(id) != FALSE; })) return;
  input_ = openConsole(L"CONIN$");
  output_ = openConsole(L"CONOUT$");
}

AtAConsole::~AtAConsole() {
  // They have ended already when all went well.
  (void)TerminateProcess(orvactl_.get(), 99);
  (void)TerminateProcess(owner_.get(), 99);
  EXPECT_TRUE(FreeConsole());
  EXPECT_TRUE(SetConsoleCtrlHandler(nullptr, FALSE));
}

void AtAConsole::startOrvactl(const std::vector<std::string>& arguments) {
  std::wstring line = L"orvactl";
  for (const std::string& argument : arguments) {
    line += L' ';
    line.append(argument.begin(), argument.end());
  }
  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = input_.get();
  startup.hStdOutput = output_.get();
  startup.hStdError = output_.get();
  DWORD id = 0;
  orvactl_ = start(shippedFile(L"orvactl.exe"), line, 0, startup, id);
}

std::optional<DWORD> AtAConsole::orvactlsExitCode() const {
  const auto limit = static_cast<DWORD>(kPatience.count());
  DWORD code = 0;
  if (WaitForSingleObject(orvactl_.get(), limit) != WAIT_OBJECT_0) return std::nullopt;
  if (!GetExitCodeProcess(orvactl_.get(), &code)) return std::nullopt;
  return code;
}

void AtAConsole::type(const std::wstring& keys) {
  std::vector<INPUT_RECORD> records;
  for (const wchar_t key : keys) {
    INPUT_RECORD record{};
    record.EventType = KEY_EVENT;
    record.Event.KeyEvent.bKeyDown = TRUE;
    record.Event.KeyEvent.wRepeatCount = 1;
    record.Event.KeyEvent.uChar.UnicodeChar = key;
    if (key == L'\r') record.Event.KeyEvent.wVirtualKeyCode = VK_RETURN;
    records.push_back(record);
  }
  DWORD written = 0;
  EXPECT_TRUE(WriteConsoleInputW(input_.get(), records.data(), static_cast<DWORD>(records.size()),
                                 &written))
      << GetLastError();
  EXPECT_EQ(written, records.size());
}

// Not before orvactl runs, which would inherit that it is to be ignored.
void AtAConsole::pressCtrlC() {
  EXPECT_TRUE(SetConsoleCtrlHandler(nullptr, TRUE)) << GetLastError();
  EXPECT_TRUE(GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0)) << GetLastError();
}

DWORD AtAConsole::modeOf(HANDLE handle) {
  DWORD mode = 0;
  EXPECT_TRUE(GetConsoleMode(handle, &mode)) << GetLastError();
  return mode;
}

}  // namespace orva_accelerator::test
