#include "client/node_selection.h"

#include <charconv>
#include <cstdint>

namespace orva_accelerator::client {
namespace {

bool isNumber(std::string_view piece) {
  std::int32_t number = 0;
  const char* end = piece.data() + piece.size();
  const auto [stopped, error] = std::from_chars(piece.data(), end, number);
  return error == std::errc() && stopped == end;
}

}  // namespace

bool isSafeNodeSelection(std::string_view text) {
  if (text == "auto") return true;
  while (!text.empty()) {
    const auto separator = text.find(';');
    const std::string_view piece = text.substr(0, separator);
    if (!piece.empty() && !isNumber(piece)) return false;
    if (separator == std::string_view::npos) break;
    text.remove_prefix(separator + 1);
  }
  return true;
}

}  // namespace orva_accelerator::client
