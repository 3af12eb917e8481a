#include "tools/hex.h"

#include <algorithm>
#include <cstdio>

namespace orva_accelerator::tools {
namespace {

constexpr std::size_t kBytesPerLine = 16;
constexpr char kDigits[] = "0123456789abcdef";

int digitValue(char digit) {
  if (digit >= '0' && digit <= '9') return digit - '0';
  if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
  if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
  return -1;
}

void appendHex(std::string& text, std::uint8_t byte) {
  text += kDigits[byte >> 4];
  text += kDigits[byte & 0xF];
}

}  // namespace

std::optional<client::Bytes> parseHex(std::string_view text) {
  client::Bytes bytes;
  for (std::size_t i = 0; i < text.size();) {
    if (text[i] == ' ') {
      ++i;
      continue;
    }
    if (i + 1 == text.size()) return std::nullopt;
    const int high = digitValue(text[i]);
    const int low = digitValue(text[i + 1]);
    if (high < 0 || low < 0) return std::nullopt;
    bytes.push_back(static_cast<std::uint8_t>(high * 16 + low));
    i += 2;
  }
  return bytes;
}

std::string plainHex(client::ByteView bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes) appendHex(text, byte);
  return text;
}

std::string hexDump(client::ByteView bytes) {
  std::string dump;
  for (std::size_t offset = 0; offset < bytes.size(); offset += kBytesPerLine) {
    const auto line = bytes.subspan(offset, std::min(kBytesPerLine, bytes.size() - offset));
    char label[16];
    std::snprintf(label, sizeof(label), "%08zx ", offset);
    dump += label;
    for (std::size_t i = 0; i < kBytesPerLine; ++i) {
      dump += i % 8 == 0 ? " " : "";
      if (i < line.size()) {
        appendHex(dump, line[i]);
        dump += ' ';
      } else {
        dump += "   ";
      }
    }
    dump += " |";
    for (const std::uint8_t byte : line) {
      dump += byte >= 0x20 && byte < 0x7F ? static_cast<char>(byte) : '.';
    }
    dump += "|\n";
  }
  return dump;
}

}  // namespace orva_accelerator::tools
