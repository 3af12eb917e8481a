// orvactl at a console, as somebody who sits there has it.
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

#include "win32/unique_handle.h"

namespace orva_accelerator::test {

// A console that nobody sees, which this process joins in place of its own. One at a time, and one
// thread.
class AtAConsole {
 public:
  AtAConsole();
  AtAConsole(const AtAConsole&) = delete;
  AtAConsole& operator=(const AtAConsole&) = delete;
  // Ends what still runs there.
  ~AtAConsole();

  // Whether it is there; nothing else is of use otherwise.
  explicit operator bool() const { return bool(output_); }

  // With all its standard handles at the console. Arguments are ASCII without blanks and quotes.
  void startOrvactl(const std::vector<std::string>& arguments);
  // The exit code; nothing when it does not end.
  std::optional<DWORD> orvactlsExitCode() const;

  void type(const std::wstring& keys);
  void pressCtrlC();

  DWORD inputMode() const { return modeOf(input_.get()); }
  DWORD outputMode() const { return modeOf(output_.get()); }

 private:
  static DWORD modeOf(HANDLE handle);

  win32::UniqueKernelHandle owner_;
  win32::UniqueKernelHandle orvactl_;
  win32::UniqueFileHandle input_;
  win32::UniqueFileHandle output_;
};

}  // namespace orva_accelerator::test
