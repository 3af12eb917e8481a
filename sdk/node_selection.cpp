#include "sdk/node_selection.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cwchar>
#include <stdexcept>

namespace orva_accelerator::sdk {

namespace {

// What std::stoi does; its texts differ from one standard library to the next.
int parseDecimal(const std::wstring& piece) {
  wchar_t* end = nullptr;
  errno = 0;
  const long value = std::wcstol(piece.c_str(), &end, 10);
  const bool outOfRange = errno == ERANGE || value < INT_MIN || value > INT_MAX;
  if (end == piece.c_str()) throw std::invalid_argument("invalid stoi argument");
  if (outOfRange) throw std::out_of_range("stoi argument out of range");
  return static_cast<int>(value);
}

}  // namespace

NodeSelection ParseNodeSelection(const std::wstring& text) {
  NodeSelection selection;
  if (text.empty() || text == L"auto") {
    selection.isAuto = true;
    return selection;
  }
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find(L';', begin), text.size());
    if (end > begin) selection.nodes.push_back(parseDecimal(text.substr(begin, end - begin)));
    begin = end + 1;
  }
  return selection;
}

std::wstring formatNodeList(const std::vector<int>& nodes) {
  std::wstring list;
  for (const int node : nodes) {
    if (!list.empty()) list += L';';
    // By way of a narrow string: std::to_wstring brings a whole formatter into the image.
    const std::string digits = std::to_string(node);
    list.append(digits.begin(), digits.end());
  }
  return list;
}

}  // namespace orva_accelerator::sdk
