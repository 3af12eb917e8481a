#include "handlers/text_conversion.h"

#include <windows.h>

namespace orva_accelerator::ipc {

namespace {

// A `room` of 0 asks for the size. 0 for a text that cannot be converted.
std::size_t convert(std::wstring_view text, void* utf8, std::size_t room) {
  const int bytes =
      WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                          static_cast<char*>(utf8), static_cast<int>(room), nullptr, nullptr);
  return bytes > 0 ? static_cast<std::size_t>(bytes) : 0;
}

}  // namespace

std::wstring ReadPayloadText(const void* payload, std::uint32_t& cursor, std::uint16_t length) {
  if (length == 0) return {};
  const char* const utf8 = static_cast<const char*>(payload) + cursor;
  cursor += length;
  const int units = MultiByteToWideChar(CP_UTF8, 0, utf8, length, nullptr, 0);
  if (units <= 0) return {};
  std::wstring text(static_cast<std::size_t>(units), L'\0');
  const int written = MultiByteToWideChar(CP_UTF8, 0, utf8, length, text.data(), units);
  // The one object that is returned, so that no copy of a credential stays on the stack.
  if (written != units) text.clear();
  return text;
}

std::size_t utf8Size(std::wstring_view text) {
  return text.empty() ? 0 : convert(text, nullptr, 0);
}

std::size_t writeUtf8(std::wstring_view text, void* utf8, std::size_t room) {
  return text.empty() || room == 0 ? 0 : convert(text, utf8, room);
}

std::string toUtf8(std::wstring_view text) {
  std::string utf8(utf8Size(text), '\0');
  if (writeUtf8(text, utf8.data(), utf8.size()) != utf8.size()) return {};
  return utf8;
}

}  // namespace orva_accelerator::ipc
