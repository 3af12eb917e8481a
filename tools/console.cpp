#include "tools/console.h"

#include <algorithm>
#include <string>

#include "win32/utf8.h"

namespace orva_accelerator::tools {
namespace {

// A console takes only so much in one call.
constexpr std::size_t kMostUnits = 8000;

bool writeToConsole(HANDLE console, std::string_view utf8) {
  const std::wstring wide = win32::wideFromUtf8(utf8).value_or(std::wstring());
  for (std::size_t done = 0; done < wide.size();) {
    DWORD written = 0;
    const auto units = static_cast<DWORD>(std::min(wide.size() - done, kMostUnits));
    if (!WriteConsoleW(console, wide.data() + done, units, &written, nullptr)) return false;
    if (written == 0) return false;
    done += written;
  }
  return true;
}

bool writeToFile(HANDLE file, std::string_view bytes) {
  while (!bytes.empty()) {
    DWORD written = 0;
    const auto size = static_cast<DWORD>(std::min<std::size_t>(bytes.size(), 0x40000000));
    if (!WriteFile(file, bytes.data(), size, &written, nullptr)) return false;
    if (written == 0) return false;
    bytes.remove_prefix(written);
  }
  return true;
}

bool write(HANDLE target, bool isConsole, std::string_view utf8) {
  return isConsole ? writeToConsole(target, utf8) : writeToFile(target, utf8);
}

}  // namespace

Console::Console() : out_(GetStdHandle(STD_OUTPUT_HANDLE)), err_(GetStdHandle(STD_ERROR_HANDLE)) {
  DWORD mode = 0;
  errIsConsole_ = GetConsoleMode(err_, &mode) != FALSE;
  outIsConsole_ = GetConsoleMode(out_, &outMode_) != FALSE;
}

Console::~Console() {
  // A console that keeps silent cannot be helped.
  if (outIsConsole_) (void)SetConsoleMode(out_, outMode_);
}

bool Console::outTakesEscapes() {
  return outIsConsole_ && SetConsoleMode(out_, outMode_ | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
}

void Console::out(std::string_view utf8) {
  if (!write(out_, outIsConsole_, utf8)) outFailed_ = true;
}

void Console::err(std::string_view utf8) {
  // There is nowhere left to complain.
  (void)write(err_, errIsConsole_, utf8);
}

}  // namespace orva_accelerator::tools
