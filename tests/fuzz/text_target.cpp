// Node selections and the two text conversions. The first byte of an input chooses.

#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

#include "handlers/text_conversion.h"
#include "sdk/node_selection.h"
#include "tests/fuzz/fuzz_target.h"

namespace orva_accelerator::fuzz {
namespace {

using Input = std::span<const std::uint8_t>;

std::wstring wide(Input input) {
  std::wstring text(input.size() / sizeof(wchar_t), L'\0');
  if (!text.empty()) std::memcpy(text.data(), input.data(), text.size() * sizeof(wchar_t));
  return text;
}

void require(bool condition) {
  if (!condition) std::abort();
}

void parseSelection(const std::wstring& text) {
  try {
    const sdk::NodeSelection selection = sdk::ParseNodeSelection(text);
    require(!selection.isAuto || selection.nodes.empty());
    // What the library is given means the same as what the client has sent.
    const std::wstring list = sdk::formatNodeList(selection.nodes);
    if (!list.empty()) require(sdk::ParseNodeSelection(list).nodes == selection.nodes);
  } catch (const std::invalid_argument&) {
    // The documented end of a piece that is no number; a connection's thread ends the process.
  } catch (const std::out_of_range&) {
    // Likewise, of a number that is none of 32 bits.
  }
}

void readText(Input input) {
  std::uint32_t cursor = 0;
  const auto length = static_cast<std::uint16_t>(input.size());
  const std::wstring text = ipc::ReadPayloadText(input.data(), cursor, length);
  require(cursor == length);
  require(text.size() <= length);
  // What was replaced once is not replaced again.
  const std::string utf8 = ipc::toUtf8(text);
  std::uint32_t again = 0;
  require(ipc::ReadPayloadText(utf8.data(), again, static_cast<std::uint16_t>(utf8.size())) ==
          text);
}

void writeText(const std::wstring& text) {
  const std::string utf8 = ipc::toUtf8(text);
  require(utf8.empty() == text.empty());
  require(utf8.size() <= text.size() * 3);
}

}  // namespace

std::vector<std::vector<std::uint8_t>> targetSeeds() {
  std::vector<std::vector<std::uint8_t>> seeds;
  for (const std::wstring selection : {L"auto", L"", L"1;;2", L"-3; 7x", L"2147483648"}) {
    std::vector<std::uint8_t>& seed = seeds.emplace_back(1 + selection.size() * sizeof(wchar_t));
    if (!selection.empty()) {
      std::memcpy(seed.data() + 1, selection.data(), selection.size() * sizeof(wchar_t));
    }
  }
  seeds.push_back({1, 'a', 0xE6, 0xB8, 0xB8, 0xF0, 0x9F, 0x8E, 0xAE});
  seeds.push_back({2, 'a', 0, 0x38, 0x6E, 0x3C, 0xD8, 0xAE, 0xDF});
  return seeds;
}

void prepareTarget() {}

void runTarget(Input input) {
  if (input.empty()) return;
  const Input rest = input.subspan(1);
  switch (input[0] % 3) {
    case 0:
      return parseSelection(wide(rest));
    case 1:
      return readText(rest);
    default:
      return writeText(wide(rest));
  }
}

}  // namespace orva_accelerator::fuzz
