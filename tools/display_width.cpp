#include "tools/display_width.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

namespace orva_accelerator::tools {
namespace {

struct Range {
  std::uint32_t first;
  std::uint32_t last;
};

// The blocks that matter for names of games, areas and servers.
constexpr Range kWide[] = {
    {0x1100, 0x115F}, {0x2E80, 0x303E},   {0x3041, 0x33FF},   {0x3400, 0x4DBF},  {0x4E00, 0x9FFF},
    {0xA000, 0xA4CF}, {0xAC00, 0xD7A3},   {0xF900, 0xFAFF},   {0xFE30, 0xFE4F},  {0xFF00, 0xFF60},
    {0xFFE0, 0xFFE6}, {0x1F300, 0x1F64F}, {0x1F900, 0x1F9FF}, {0x20000, 0x3FFFD}};
constexpr Range kCombining[] = {{0x0300, 0x036F}, {0x200B, 0x200F}, {0xFE00, 0xFE0F}};

// What moves the cursor, changes colours or turns the direction of writing: both sets of control
// characters, separators of lines, and marks of direction.
constexpr Range kControls[] = {{0x0000, 0x001F}, {0x007F, 0x009F}, {0x061C, 0x061C},
                               {0x200E, 0x200F}, {0x2028, 0x202E}, {0x2066, 0x2069}};

template <std::size_t N>
bool in(const Range (&ranges)[N], std::uint32_t character) {
  return std::ranges::any_of(ranges, [character](const Range& range) {
    return character >= range.first && character <= range.last;
  });
}

std::size_t widthOf(std::uint32_t character) {
  if (in(kCombining, character)) return 0;
  return in(kWide, character) ? 2 : 1;
}

bool isContinuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

// The bits of a lead byte that belong to the character.
std::uint32_t leadBits(unsigned char lead) {
  if (lead < 0x80) return lead;
  if (lead < 0xE0) return lead & 0x1FU;
  if (lead < 0xF0) return lead & 0x0FU;
  return lead & 0x07U;
}

// Takes the next character off the front of `utf8`; `bytes` are those that it is made of.
std::uint32_t takeCharacter(std::string_view& utf8, std::string_view& bytes) {
  std::uint32_t character = leadBits(static_cast<unsigned char>(utf8.front()));
  std::size_t length = 1;
  for (; length < utf8.size() && isContinuation(utf8[length]); ++length) {
    character = (character << 6) | (static_cast<unsigned char>(utf8[length]) & 0x3FU);
  }
  bytes = utf8.substr(0, length);
  utf8.remove_prefix(length);
  return character;
}

}  // namespace

std::size_t displayWidth(std::string_view utf8) {
  std::size_t width = 0;
  for (std::string_view bytes; !utf8.empty();) width += widthOf(takeCharacter(utf8, bytes));
  return width;
}

std::string padded(std::string_view utf8, std::size_t width) {
  std::string text(utf8);
  const std::size_t has = displayWidth(utf8);
  if (has < width) text.append(width - has, ' ');
  return text;
}

std::string withoutControls(std::string_view utf8, ControlsAs controls) {
  std::string text;
  for (std::string_view bytes; !utf8.empty();) {
    const std::uint32_t character = takeCharacter(utf8, bytes);
    if (static_cast<unsigned char>(bytes.front()) >= 0x80 && bytes.size() == 1) {
      text += "\xEF\xBF\xBD";  // No character: U+FFFD.
      continue;
    }
    if (!in(kControls, character)) {
      text += bytes;
      continue;
    }
    const bool brief = controls == ControlsAs::ForPeople && character < 0x100;
    char escaped[16];
    std::snprintf(escaped, sizeof(escaped), brief ? "\\x%02x" : "\\u%04x",
                  static_cast<unsigned>(character));
    text += escaped;
  }
  return text;
}

}  // namespace orva_accelerator::tools
