#include "tools/utf8.h"

#include <windows.h>

namespace orva_accelerator::tools {

std::string Utf8FromWide(std::wstring_view wide) {
  const int units = static_cast<int>(wide.size());
  const int size =
      WideCharToMultiByte(CP_UTF8, 0, wide.data(), units, nullptr, 0, nullptr, nullptr);
  if (size <= 0) return {};  // Nothing to convert: with these flags nothing else fails.
  std::string utf8(static_cast<std::size_t>(size), '\0');
  (void)WideCharToMultiByte(CP_UTF8, 0, wide.data(), units, utf8.data(), size, nullptr,
                            nullptr);  // The room is what the call above asked for.
  return utf8;
}

std::wstring WideFromUtf8(std::string_view utf8) {
  const int bytes = static_cast<int>(utf8.size());
  const int size = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), bytes, nullptr, 0);
  if (size <= 0) return {};  // Nothing to convert: with these flags nothing else fails.
  std::wstring wide(static_cast<std::size_t>(size), L'\0');
  (void)MultiByteToWideChar(CP_UTF8, 0, utf8.data(), bytes, wide.data(),
                            size);  // The room is what the call above asked for.
  return wide;
}

}  // namespace orva_accelerator::tools
