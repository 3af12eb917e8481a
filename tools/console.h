// Standard output and standard error in UTF-8: a console gets UTF-16 and shows every script
// whatever its code page; a file or a pipe gets the UTF-8 bytes.
#pragma once

#include <windows.h>

#include <string_view>

namespace orva_accelerator::tools {

class Console {
 public:
  Console();

  void out(std::string_view utf8);
  void err(std::string_view utf8);

  // Standard output is a console that understands escape sequences for moving the cursor.
  bool outIsTerminal() const { return outIsTerminal_; }
  // Something written to standard output did not arrive: its reader is gone or the disk is full.
  bool outFailed() const { return outFailed_; }

 private:
  HANDLE out_;  // Both borrowed: the process's own.
  HANDLE err_;
  bool outIsTerminal_ = false;
  bool outFailed_ = false;
};

}  // namespace orva_accelerator::tools
