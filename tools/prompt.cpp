#include "tools/prompt.h"

#include <windows.h>

#include "tools/exit_codes.h"

namespace orva_accelerator::tools {
namespace {

// As much as a request can carry.
constexpr std::size_t kLongest = 65'535;

// For the handler of Ctrl+C, which has no other way to them. Written before it is installed.
HANDLE promptInput = nullptr;
DWORD modeBefore = 0;

// The read that waits for the line ends at Ctrl+C on some systems only, so the process ends here.
BOOL WINAPI endAtOnce(DWORD control) {
  // Whatever ends the process: the console is somebody else's afterwards.
  (void)SetConsoleMode(promptInput, modeBefore);
  if (control != CTRL_C_EVENT && control != CTRL_BREAK_EVENT) return FALSE;
  ExitProcess(ExitInterrupted);
}

// The console's mode for the time of a question.
class PromptMode {
 public:
  PromptMode(HANDLE input, DWORD mode, Echo echo) {
    promptInput = input;
    modeBefore = mode;
    const DWORD silent = mode & ~static_cast<DWORD>(ENABLE_ECHO_INPUT);
    isSet_ = SetConsoleCtrlHandler(endAtOnce, TRUE) &&
             SetConsoleMode(input, echo == Echo::Off ? silent : mode);
  }
  PromptMode(const PromptMode&) = delete;
  PromptMode& operator=(const PromptMode&) = delete;
  ~PromptMode() {
    // Nothing can be done about a console that keeps silent, nor about a handler that stays.
    (void)SetConsoleMode(promptInput, modeBefore);
    (void)SetConsoleCtrlHandler(endAtOnce, FALSE);
  }
  bool isSet() const { return isSet_; }

 private:
  bool isSet_ = false;
};

client::Error none(DWORD code) {
  return client::Error{client::ErrorKind::Usage, "ask at the console", code, "nothing was typed"};
}

}  // namespace

bool canAsk() {
  DWORD mode = 0;
  return GetConsoleMode(GetStdHandle(STD_INPUT_HANDLE), &mode) != FALSE;
}

client::Result<std::wstring> ask(Console& console, const std::string& question, Echo echo) {
  const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
  DWORD mode = 0;
  if (!GetConsoleMode(input, &mode)) return none(GetLastError());
  const PromptMode asking(input, mode, echo);
  if (!asking.isSet()) return none(GetLastError());
  console.err(question);
  std::wstring line;
  // All at once: a line that grew would leave copies of what was typed behind.
  line.reserve(kLongest);
  for (wchar_t next{}; line.size() < kLongest;) {
    DWORD count = 0;
    if (!ReadConsoleW(input, &next, 1, &count, nullptr)) return none(GetLastError());
    if (count == 0 && line.empty()) return none(0);
    if (count == 0 || next == L'\n') break;
    if (next != L'\r') line += next;
  }
  // Without echo the end of the line was not shown either.
  if (echo == Echo::Off) console.err("\n");
  return line;
}

}  // namespace orva_accelerator::tools
