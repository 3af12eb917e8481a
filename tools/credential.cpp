#include "tools/credential.h"

#include <windows.h>

#include "tools/prompt.h"
#include "win32/utf8.h"

namespace orva_accelerator::tools {
namespace {

// As much as a request can carry.
constexpr std::size_t kLongest = 65'535;

client::Error none(DWORD code) {
  return client::Error{client::ErrorKind::Usage, "read the credential", code,
                       "it is neither an argument nor a line of standard input"};
}

// With all its room at once, so that neither growing nor moving leaves a part of it behind.
std::string emptyLine() {
  std::string line;
  line.reserve(kLongest);
  return line;
}

client::Result<std::string> fromConsole(Console& console) {
  auto typed = ask(console, "Credential: ", Echo::Off);
  if (!typed) return typed.error();
  std::string line = emptyLine();
  auto utf8 = win32::utf8FromWide(typed.value());
  SecureZeroMemory(typed.value().data(), typed.value().size() * sizeof(wchar_t));
  if (utf8) {
    line = *utf8;
    SecureZeroMemory(utf8->data(), utf8->size());
  }
  return line;
}

}  // namespace

client::Result<std::string> readCredential(Console& console) {
  if (canAsk()) return fromConsole(console);
  const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
  std::string line = emptyLine();
  for (char next{}; line.size() < kLongest;) {
    DWORD count = 0;
    if (!ReadFile(input, &next, 1, &count, nullptr)) {
      const DWORD code = GetLastError();
      if (code != ERROR_BROKEN_PIPE) {
        SecureZeroMemory(line.data(), line.size());
        return none(code);
      }
      count = 0;
    }
    const bool end = count == 0;
    if (end && line.empty()) return none(0);
    if (end || next == '\n') break;
    if (next != '\r') line += next;
  }
  return line;
}

void warnOfVisibleCredential(Console& console) {
  console.err(
      "orvactl: others can see a credential on the command line; leave it out to be asked for "
      "it\n");
}

}  // namespace orva_accelerator::tools
