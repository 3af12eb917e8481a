#include "win32/utf8.h"

#include <windows.h>

#include <cstddef>
#include <limits>

namespace orva_accelerator::win32 {

namespace {

// The system counts in int, and takes a length of 0 for a mistake and a negative one for a
// terminated text.
constexpr std::size_t kMaxLength = std::numeric_limits<int>::max();

}  // namespace

std::optional<std::wstring> wideFromUtf8(std::string_view utf8, MalformedUtf8 malformed) {
  if (utf8.empty()) return std::wstring();
  if (utf8.size() > kMaxLength) return std::nullopt;
  const int bytes = static_cast<int>(utf8.size());
  const DWORD flags = malformed == MalformedUtf8::Refused ? MB_ERR_INVALID_CHARS : 0;
  const int units = MultiByteToWideChar(CP_UTF8, flags, utf8.data(), bytes, nullptr, 0);
  if (units <= 0) return std::nullopt;
  std::wstring wide(static_cast<std::size_t>(units), L'\0');
  const int written = MultiByteToWideChar(CP_UTF8, flags, utf8.data(), bytes, wide.data(), units);
  if (written != units) return std::nullopt;
  return wide;
}

std::optional<std::string> utf8FromWide(std::wstring_view wide) {
  if (wide.empty()) return std::string();
  if (wide.size() > kMaxLength) return std::nullopt;
  const int units = static_cast<int>(wide.size());
  const int bytes =
      WideCharToMultiByte(CP_UTF8, 0, wide.data(), units, nullptr, 0, nullptr, nullptr);
  if (bytes <= 0) return std::nullopt;
  std::string utf8(static_cast<std::size_t>(bytes), '\0');
  const int written =
      WideCharToMultiByte(CP_UTF8, 0, wide.data(), units, utf8.data(), bytes, nullptr, nullptr);
  if (written != bytes) return std::nullopt;
  return utf8;
}

}  // namespace orva_accelerator::win32
