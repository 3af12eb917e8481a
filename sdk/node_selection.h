// Which nodes a client wants to be accelerated over.
#pragma once

#include <string>
#include <vector>

namespace orva_accelerator::sdk {

struct NodeSelection {
  bool isAuto = false;     // The library chooses; `nodes` is empty.
  std::vector<int> nodes;  // In the client's order.
};

// "" and "auto" (in just this case) select automatically. Anything else is a list of integers
// separated by ';', empty pieces skipped. Throws as ParseDecimalInt does for a piece that is not
// a number; nothing between here and the connection's thread catches it, so that a malformed list
// ends the service: clients are expected to send what the library itself has given them.
NodeSelection ParseNodeSelection(const std::wstring& text);

// The list as the library takes it: decimal integers joined by ';', no trailing ';'.
std::wstring FormatNodeList(const std::vector<int>& nodes);

}  // namespace orva_accelerator::sdk
