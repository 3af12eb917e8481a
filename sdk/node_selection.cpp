#include "sdk/node_selection.h"

#include <sstream>

#include "sdk/decimal_int.h"

namespace orva_accelerator::sdk {

NodeSelection ParseNodeSelection(const std::wstring& text) {
  NodeSelection selection;
  if (text.empty() || text == L"auto") {
    selection.isAuto = true;
    return selection;
  }
  std::wistringstream pieces(text);
  for (std::wstring piece; std::getline(pieces, piece, L';');) {
    if (!piece.empty()) selection.nodes.push_back(ParseDecimalInt(piece));
  }
  return selection;
}

std::wstring FormatNodeList(const std::vector<int>& nodes) {
  std::wstring list;
  for (const int node : nodes) {
    if (!list.empty()) list += L';';
    list += std::to_wstring(node);
  }
  return list;
}

}  // namespace orva_accelerator::sdk
