#include "tests/fuzz/dictionary.h"

#include <fstream>
#include <iterator>
#include <optional>
#include <stdexcept>

namespace orva_accelerator::fuzz {
namespace {

constexpr std::string_view kBlanks = " \t\r";

std::string_view trimmed(std::string_view line) {
  const std::size_t first = line.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return line.substr(first, line.find_last_not_of(kBlanks) - first + 1);
}

std::optional<unsigned> hexDigit(char digit) {
  const std::size_t value = std::string_view("0123456789abcdef").find(digit);
  if (value != std::string_view::npos) return static_cast<unsigned>(value);
  if (digit >= 'A' && digit <= 'F') return static_cast<unsigned>(digit - 'A' + 10);
  return std::nullopt;
}

// What stands between the quotation marks; none when that breaks a rule.
std::optional<std::string> unescaped(std::string_view quoted) {
  std::string word;
  for (std::size_t at = 0; at < quoted.size(); ++at) {
    if (quoted[at] == '"') return std::nullopt;
    if (quoted[at] != '\\') {
      word += quoted[at];
      continue;
    }
    const std::string_view rest = quoted.substr(at + 1);
    if (rest.starts_with('\\') || rest.starts_with('"')) {
      word += rest[0];
      at += 1;
      continue;
    }
    if (rest.size() < 3 || rest[0] != 'x') return std::nullopt;
    const auto high = hexDigit(rest[1]);
    const auto low = hexDigit(rest[2]);
    if (!high || !low) return std::nullopt;
    word += static_cast<char>(*high * 16 + *low);
    at += 3;
  }
  return word;
}

std::optional<std::string> wordOf(std::string_view line) {
  const std::size_t first = line.find('"');
  if (first == std::string_view::npos || line.size() < first + 2 || line.back() != '"') {
    return std::nullopt;
  }
  if (first != 0 && line[first - 1] != '=') return std::nullopt;
  return unescaped(line.substr(first + 1, line.size() - first - 2));
}

}  // namespace

std::vector<std::string> parseDictionary(std::string_view text) {
  std::vector<std::string> words;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    const std::string_view line = trimmed(text.substr(0, end));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (line.empty() || line.starts_with('#')) continue;
    const auto word = wordOf(line);
    if (!word || word->empty()) throw std::runtime_error("not a word: " + std::string(line));
    words.push_back(*word);
  }
  return words;
}

std::vector<std::string> readDictionary(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  auto words = parseDictionary(text);
  if (words.empty()) throw std::runtime_error("no words in " + path);
  return words;
}

}  // namespace orva_accelerator::fuzz
