#include "service/utf8_to_wide.h"

#include <windows.h>

#include <cstddef>
#include <cwchar>

namespace orva_accelerator::service {

std::wstring utf8ToWide(const char* text) {
  if (text == nullptr || *text == '\0') return {};
  constexpr int kUntilTerminator = -1;
  const int length = MultiByteToWideChar(CP_UTF8, 0, text, kUntilTerminator, nullptr, 0);
  if (length <= 0) return {};
  std::wstring wide(static_cast<std::size_t>(length), L'\0');
  if (MultiByteToWideChar(CP_UTF8, 0, text, kUntilTerminator, wide.data(), length) == 0) return {};
  wide.resize(wcsnlen(wide.data(), wide.size()));
  return wide;
}

}  // namespace orva_accelerator::service
