#include "simulator/texts.h"

#include <windows.h>

#include <algorithm>
#include <cstring>

namespace orva_accelerator::simulator {
namespace {

bool isHighSurrogate(wchar_t unit) {
  return unit >= 0xD800 && unit <= 0xDBFF;
}
bool isLowSurrogate(wchar_t unit) {
  return unit >= 0xDC00 && unit <= 0xDFFF;
}

void appendEscape(std::string& out, unsigned unit) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  out += "\\u";
  for (const unsigned shift : {12U, 8U, 4U, 0U}) out += kDigits[(unit >> shift) & 0xFU];
}

void appendUtf8(std::string& out, unsigned codePoint) {
  const auto put = [&out](unsigned byte) { out += static_cast<char>(byte); };
  if (codePoint < 0x80) {
    put(codePoint);
  } else if (codePoint < 0x800) {
    put(0xC0U | (codePoint >> 6));
    put(0x80U | (codePoint & 0x3FU));
  } else if (codePoint < 0x10000) {
    put(0xE0U | (codePoint >> 12));
    put(0x80U | ((codePoint >> 6) & 0x3FU));
    put(0x80U | (codePoint & 0x3FU));
  } else {
    put(0xF0U | (codePoint >> 18));
    put(0x80U | ((codePoint >> 12) & 0x3FU));
    put(0x80U | ((codePoint >> 6) & 0x3FU));
    put(0x80U | (codePoint & 0x3FU));
  }
}

}  // namespace

std::wstring fromUtf8(std::string_view text) {
  if (text.empty()) return {};
  const int bytes = static_cast<int>(text.size());
  const int units = MultiByteToWideChar(CP_UTF8, 0, text.data(), bytes, nullptr, 0);
  if (units <= 0) return {};
  std::wstring result(static_cast<std::size_t>(units), L'\0');
  if (MultiByteToWideChar(CP_UTF8, 0, text.data(), bytes, result.data(), units) != units) return {};
  return result;
}

void copyText(std::wstring_view text, void* array, std::size_t capacity) {
  static_assert(sizeof(wchar_t) == 2);
  const std::size_t length = std::min(text.size(), capacity);
  auto* bytes = static_cast<std::byte*>(array);
  if (length > 0) std::memcpy(bytes, text.data(), length * sizeof(wchar_t));
  if (length < capacity) std::memset(bytes + length * sizeof(wchar_t), 0, sizeof(wchar_t));
}

void appendQuoted(std::string& out, std::wstring_view text) {
  out += '"';
  for (std::size_t i = 0; i < text.size(); ++i) {
    const wchar_t unit = text[i];
    if (unit == L'"' || unit == L'\\') {
      out += '\\';
      out += static_cast<char>(unit);
    } else if (isHighSurrogate(unit) && i + 1 < text.size() && isLowSurrogate(text[i + 1])) {
      const unsigned high = static_cast<unsigned>(unit) - 0xD800U;
      const unsigned low = static_cast<unsigned>(text[++i]) - 0xDC00U;
      appendUtf8(out, 0x10000U + (high << 10) + low);
    } else if (unit < 0x20 || isHighSurrogate(unit) || isLowSurrogate(unit)) {
      appendEscape(out, unit);
    } else {
      appendUtf8(out, unit);
    }
  }
  out += '"';
}

}  // namespace orva_accelerator::simulator
