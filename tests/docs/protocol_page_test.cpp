// The examples of the protocol page are the golden vectors, which the service and the client
// library are tested with, and its list of requests is the service's: the page cannot drift from
// what the programs do.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "ipc/wire/messages.h"
#include "tests/support/golden_vectors.h"

namespace orva_accelerator::test {
namespace {

std::vector<std::string> linesOfThePage() {
  std::ifstream page(ORVA_PROTOCOL_PAGE);
  if (!page) throw std::runtime_error("cannot read " ORVA_PROTOCOL_PAGE);
  std::vector<std::string> lines;
  for (std::string line; std::getline(page, line);) lines.push_back(line);
  return lines;
}

// Name ("requests/sdk_init") to the bytes that the page shows.
std::map<std::string, Bytes> examplesOnThePage() {
  const std::string fence = "```vector ";
  std::map<std::string, Bytes> examples;
  Bytes* open = nullptr;
  for (const std::string& line : linesOfThePage()) {
    if (line.starts_with(fence)) {
      const auto [entry, isNew] = examples.try_emplace(line.substr(fence.size()));
      if (!isNew) throw std::runtime_error("twice on the page: " + line);
      open = &entry->second;
    } else if (line.starts_with("```")) {
      open = nullptr;
    } else if (open != nullptr) {
      const Bytes bytes = bytesFromHex(line.substr(0, line.find('#')));
      open->insert(open->end(), bytes.begin(), bytes.end());
    }
  }
  return examples;
}

const GoldenVector& vectorOf(const std::string& example) {
  const std::size_t slash = example.find('/');
  return goldenVector(example.substr(0, slash) + ".json", example.substr(slash + 1));
}

TEST(ProtocolPage, ShowsTheBytesOfTheGoldenVectors) {
  const auto examples = examplesOnThePage();
  ASSERT_FALSE(examples.empty());
  for (const auto& [name, bytes] : examples) {
    EXPECT_TRUE(isMessage(vectorOf(name), bytes)) << name;
  }
}

TEST(ProtocolPage, HasAnExampleOfEveryKind) {
  std::set<std::string> shown;
  for (const auto& [name, bytes] : examplesOnThePage())
    shown.insert(name.substr(0, name.find('/')));
  EXPECT_EQ(shown, (std::set<std::string>{"requests", "responses", "notifications"}));
}

// "| 257 | 0x101 | `MsgUserLogin` | 4 + texts | 4 | ..." without the name and what follows.
struct ListedRequest {
  unsigned long type;
  unsigned long hexadecimalType;
  std::string payload;
  std::string responsePayload;
};

std::vector<ListedRequest> requestsOnThePage() {
  const std::regex row(R"(\| (\d+) \| 0x([0-9A-F]+) \| `Msg\w+` \| ([^|]+) \| ([^|]+) \|.*)");
  std::vector<ListedRequest> requests;
  for (const std::string& line : linesOfThePage()) {
    std::smatch cells;
    if (!std::regex_match(line, cells, row)) continue;
    requests.push_back(
        {std::stoul(cells[1]), std::stoul(cells[2], nullptr, 16), cells[3], cells[4]});
  }
  return requests;
}

// "12 + text" for a fixed part of 12 bytes and one text.
std::string inWords(const ipc::MessageRow& message) {
  if (message.requestSize == 0) return "none";
  const std::string texts[] = {"", " + text", " + texts"};
  return std::to_string(message.requestSize) +
         texts[std::min<std::size_t>(message.requestTexts, 2)];
}

TEST(ProtocolPage, ListsTheRequestsThatTheServiceKnows) {
  const std::vector<ListedRequest> listed = requestsOnThePage();
  ASSERT_EQ(listed.size(), ipc::kMessages.size());
  for (std::size_t i = 0; i < listed.size(); ++i) {
    const ipc::MessageRow& message = ipc::kMessages[i];
    EXPECT_EQ(listed[i].type, message.type);
    EXPECT_EQ(listed[i].hexadecimalType, message.type);
    EXPECT_EQ(listed[i].payload, inWords(message)) << listed[i].type;
    // What follows the fixed part of a response is in no table; tests/node compares it with
    // vectors.
    EXPECT_EQ(std::stoul(listed[i].responsePayload), message.responseSize) << listed[i].type;
  }
}

}  // namespace
}  // namespace orva_accelerator::test
