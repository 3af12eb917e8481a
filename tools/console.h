// Standard output and standard error in UTF-8: a console gets UTF-16 and shows every script
// whatever its code page; a file or a pipe gets the UTF-8 bytes.
#pragma once

#include <windows.h>

#include <string_view>

namespace orva_accelerator::tools {

class Console {
 public:
  Console();
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;
  // Puts the console's mode back.
  ~Console();

  void out(std::string_view utf8);
  void err(std::string_view utf8);

  // Has standard output understand escape sequences for moving the cursor; false if it is no
  // console that does. Whoever asks sees to it that Ctrl+C does not end the process at once.
  bool outTakesEscapes();
  // Consoles show every script; what reads a file or a pipe may take it for another code page.
  bool outIsConsole() const { return outIsConsole_; }
  bool errIsConsole() const { return errIsConsole_; }
  // Something written to standard output did not arrive: its reader is gone or the disk is full.
  bool outFailed() const { return outFailed_; }

 private:
  HANDLE out_;  // Both borrowed: the process's own.
  HANDLE err_;
  bool outIsConsole_ = false;
  bool errIsConsole_ = false;
  DWORD outMode_ = 0;
  bool outFailed_ = false;
};

}  // namespace orva_accelerator::tools
