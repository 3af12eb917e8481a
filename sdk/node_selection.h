// Which nodes a client wants to be accelerated over.
#pragma once

#include <string>
#include <vector>

namespace orva_accelerator::sdk {

struct NodeSelection {
  bool isAuto = false;     // The library chooses; `nodes` is empty.
  std::vector<int> nodes;  // In the client's order.
};

// "" and "auto" (in just this case) select automatically. Anything else is a list of decimal
// integers separated by ';', empty pieces skipped. Of a piece, leading white space is skipped, and
// so is what follows the digits.
//
// Throws std::invalid_argument("invalid stoi argument") for a piece that does not begin with a
// number, std::out_of_range("stoi argument out of range") for one that does not fit 32 bits.
// Nothing between here and the connection's thread catches it, so that a malformed list ends the
// service: clients are expected to send what the library itself has given them.
NodeSelection ParseNodeSelection(const std::wstring& text);

// The list as the library takes it: decimal integers joined by ';', no trailing ';'.
std::wstring formatNodeList(const std::vector<int>& nodes);

}  // namespace orva_accelerator::sdk
