#include "tools/credential.h"

#include <windows.h>

#include "win32/utf8.h"

namespace orva_accelerator::tools {
namespace {

// As much as a request can carry.
constexpr std::size_t kLongest = 65'535;

// Puts the mode back, however reading ends.
class WithoutEcho {
 public:
  WithoutEcho(HANDLE input, DWORD mode) : input_(input), mode_(mode) {
    hidden_ = SetConsoleMode(input, mode & ~static_cast<DWORD>(ENABLE_ECHO_INPUT)) != FALSE;
  }
  WithoutEcho(const WithoutEcho&) = delete;
  WithoutEcho& operator=(const WithoutEcho&) = delete;
  ~WithoutEcho() {
    // Nothing can be done about a console that keeps silent.
    (void)SetConsoleMode(input_, mode_);
  }
  bool hidden() const { return hidden_; }

 private:
  HANDLE input_;
  DWORD mode_;
  bool hidden_ = false;
};

client::Error none(DWORD code) {
  return client::Error{client::ErrorKind::Usage, "read the credential", code,
                       "it is neither an argument nor a line of standard input"};
}

template <typename Character, typename Read>
client::Result<std::basic_string<Character>> readLine(Read read) {
  std::basic_string<Character> line;
  for (Character next{}; line.size() <= kLongest;) {
    DWORD count = 0;
    if (!read(&next, &count)) {
      const DWORD code = GetLastError();
      if (code != ERROR_BROKEN_PIPE) return none(code);
      count = 0;
    }
    const bool end = count == 0;
    if (end && line.empty()) return none(0);
    if (end || next == '\n') break;
    if (next != '\r') line += next;
  }
  return line;
}

client::Result<std::string> fromConsole(HANDLE input, DWORD mode, Console& console) {
  const WithoutEcho silence(input, mode);
  if (!silence.hidden()) return none(0);
  console.err("Credential: ");
  auto line = readLine<wchar_t>([input](wchar_t* next, DWORD* count) {
    return ReadConsoleW(input, next, 1, count, nullptr);
  });
  console.err("\n");
  if (!line) return line.error();
  auto utf8 = win32::utf8FromWide(line.value());
  SecureZeroMemory(line.value().data(), line.value().size() * sizeof(wchar_t));
  return utf8.value_or(std::string());
}

}  // namespace

client::Result<std::string> readCredential(Console& console) {
  const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
  DWORD mode = 0;
  if (GetConsoleMode(input, &mode)) return fromConsole(input, mode, console);
  return readLine<char>(
      [input](char* next, DWORD* count) { return ReadFile(input, next, 1, count, nullptr); });
}

}  // namespace orva_accelerator::tools
