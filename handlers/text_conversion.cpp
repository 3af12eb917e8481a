#include "handlers/text_conversion.h"

#include <windows.h>

namespace orva_accelerator::ipc {

std::wstring ReadPayloadText(const void* payload, std::uint32_t& cursor, std::uint16_t length) {
  if (length == 0) return {};
  const std::string utf8(static_cast<const char*>(payload) + cursor, length);
  cursor += length;
  const int bytes = static_cast<int>(utf8.size());
  const int units = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), bytes, nullptr, 0);
  if (units <= 0) return {};
  std::wstring text(static_cast<std::size_t>(units), L'\0');
  if (MultiByteToWideChar(CP_UTF8, 0, utf8.data(), bytes, text.data(), units) != units) return {};
  return text;
}

std::string ToUtf8(const std::wstring& text) {
  if (text.empty()) return {};
  const int units = static_cast<int>(text.size());
  const int bytes =
      WideCharToMultiByte(CP_UTF8, 0, text.data(), units, nullptr, 0, nullptr, nullptr);
  if (bytes <= 0) return {};
  std::string utf8(static_cast<std::size_t>(bytes), '\0');
  if (WideCharToMultiByte(CP_UTF8, 0, text.data(), units, utf8.data(), bytes, nullptr, nullptr) !=
      bytes) {
    return {};
  }
  return utf8;
}

}  // namespace orva_accelerator::ipc
