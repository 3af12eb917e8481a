// The examples of the protocol page are the golden vectors, which the service and the client
// library are tested with: the page cannot drift from what the programs do.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <set>
#include <stdexcept>
#include <string>

#include "tests/support/golden_vectors.h"

namespace orva_accelerator::test {
namespace {

// Name ("requests/sdk_init") to the bytes that the page shows.
std::map<std::string, Bytes> examplesOnThePage() {
  std::ifstream page(ORVA_PROTOCOL_PAGE);
  if (!page) throw std::runtime_error("cannot read " ORVA_PROTOCOL_PAGE);
  const std::string fence = "```vector ";
  std::map<std::string, Bytes> examples;
  Bytes* open = nullptr;
  for (std::string line; std::getline(page, line);) {
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

TEST(ProtocolPage, HasAnExampleOfEveryMessage) {
  std::set<std::string> shown;
  for (const auto& [name, bytes] : examplesOnThePage()) {
    shown.insert(name.substr(0, name.find('/')) + " " + vectorOf(name).message);
  }
  for (const std::string kind : {"requests", "responses", "notifications"}) {
    for (const GoldenVector& vector : goldenVectors(kind + ".json")) {
      EXPECT_TRUE(shown.contains(kind + " " + vector.message))
          << "no " << kind << " example of " << vector.message;
    }
  }
}

}  // namespace
}  // namespace orva_accelerator::test
