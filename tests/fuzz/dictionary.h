// The words that a target's format knows by heart: magics, message types, separators, numbers at
// the edges of their ranges, and UTF-8 that is none.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orva_accelerator::fuzz {

// A line is empty, a comment that begins with #, or a word in quotation marks, with or without a
// name and = ahead of it. In a word, \\ and \" stand for themselves and \xNN for any byte. Throws
// std::runtime_error, which names the line, for any other line.
std::vector<std::string> parseDictionary(std::string_view text);
// Throws std::runtime_error also for a file that cannot be read or has no word.
std::vector<std::string> readDictionary(const std::string& path);

}  // namespace orva_accelerator::fuzz
