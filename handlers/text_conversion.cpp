#include "handlers/text_conversion.h"

#include <windows.h>

namespace orva_accelerator::ipc {

std::wstring ReadPayloadText(const void* payload, std::uint32_t& cursor, std::uint16_t length) {
  if (length == 0) return {};
  const char* const utf8 = static_cast<const char*>(payload) + cursor;
  cursor += length;
  const int units = MultiByteToWideChar(CP_UTF8, 0, utf8, length, nullptr, 0);
  if (units <= 0) return {};
  std::wstring text(static_cast<std::size_t>(units), L'\0');
  if (MultiByteToWideChar(CP_UTF8, 0, utf8, length, text.data(), units) != units) return {};
  return text;
}

namespace {

// 0 for a text that cannot be converted, and for none.
std::size_t utf8Size(const std::wstring& text) {
  if (text.empty()) return 0;
  const int bytes = WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                        nullptr, 0, nullptr, nullptr);
  return bytes > 0 ? static_cast<std::size_t>(bytes) : 0;
}

bool writeUtf8(const std::wstring& text, char* utf8, std::size_t size) {
  const int bytes = static_cast<int>(size);
  return WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), utf8, bytes,
                             nullptr, nullptr) == bytes;
}

}  // namespace

std::string ToUtf8(const std::wstring& text) {
  const std::size_t size = utf8Size(text);
  if (size == 0) return {};
  std::string utf8(size, '\0');
  if (!writeUtf8(text, utf8.data(), size)) return {};
  return utf8;
}

Utf8Text::Utf8Text(const std::wstring& text) {
  const std::size_t size = utf8Size(text);
  if (size == 0) return;
  if (size > usual_.size()) long_.reset(new char[size]);
  char* const utf8 = long_ ? long_.get() : usual_.data();
  if (writeUtf8(text, utf8, size)) view_ = {utf8, size};
}

}  // namespace orva_accelerator::ipc
