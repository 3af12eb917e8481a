#include "tests/support/golden_vectors.h"

#include <cstdlib>
#include <fstream>
#include <map>
#include <mutex>
#include <stdexcept>

namespace orva_accelerator::test {
namespace {

using nlohmann::json;

std::string repeated(const std::string& piece, std::size_t times) {
  std::string all;
  for (std::size_t i = 0; i < times; ++i) all += piece;
  return all;
}

bool isRepetition(const json& value) {
  return value.is_object() && value.contains("repeat");
}

// Repeated texts may stand in the items of a list too.
void writeOut(json& value) {
  if (isRepetition(value)) {
    value = repeated(value.at("repeat").get<std::string>(), value.at("times").get<std::size_t>());
  } else if (value.is_structured()) {
    for (json& part : value) writeOut(part);
  }
}

// A string of hexadecimal bytes, {"repeat", "times"} of one, or a list of these.
Bytes bytesOf(const json& source) {
  if (source.is_string()) return bytesFromHex(source.get<std::string>());
  // A blank between repetitions keeps the last digit of one from the first digit of the next.
  if (isRepetition(source)) {
    return bytesFromHex(repeated(source.at("repeat").get<std::string>() + " ",
                                 source.at("times").get<std::size_t>()));
  }
  Bytes all;
  for (const json& piece : source) {
    const Bytes more = bytesOf(piece);
    all.insert(all.end(), more.begin(), more.end());
  }
  return all;
}

void appendField(const json& field, GoldenVector& vector) {
  const bool isVariable = field.size() == 3;
  if (field.size() < 2 || field.size() > 3 || (isVariable && field.at(2) != "variable")) {
    throw std::runtime_error(vector.name + ": not a field: " + field.dump());
  }
  const Bytes more = bytesOf(field.at(0));
  vector.bytes.insert(vector.bytes.end(), more.begin(), more.end());
  vector.variable.insert(vector.variable.end(), more.size(), isVariable);
}

std::size_t headerLengthFor(const std::string& file, std::size_t messageLength) {
  if (file == "requests.json") return 24;
  if (file == "responses.json") return 8;
  if (file == "notifications.json") return 20;
  return messageLength;
}

GoldenVector parseVector(const std::string& file, const json& source) {
  GoldenVector vector;
  vector.name = source.at("name").get<std::string>();
  vector.message = source.at("message").get<std::string>();
  vector.type = source.at("type").is_null() ? 0 : source.at("type").get<std::uint32_t>();
  vector.values = source.at("values");
  writeOut(vector.values);
  for (const json& field : source.at("fields")) appendField(field, vector);
  vector.headerLength = headerLengthFor(file, vector.bytes.size());
  if (vector.bytes.size() < vector.headerLength) {
    throw std::runtime_error(vector.name + ": shorter than its header");
  }
  return vector;
}

// Tests that were built elsewhere run on machines without the sources.
std::string vectorFolder() {
  // Nobody changes the environment of a test.
  // NOLINTNEXTLINE(concurrency-mt-unsafe)
  const char* const folder = std::getenv("ORVA_VECTORS");
  return folder == nullptr ? ORVA_GOLDEN_VECTOR_DIR : folder;
}

json readSource(const std::string& file) {
  const std::string path = vectorFolder() + "/" + file;
  std::ifstream stream(path, std::ios::binary);
  if (!stream) throw std::runtime_error("cannot read " + path);
  return json::parse(stream);
}

std::vector<GoldenVector> readFile(const std::string& file) {
  std::vector<GoldenVector> vectors;
  for (const json& source : readSource(file)) vectors.push_back(parseVector(file, source));
  return vectors;
}

std::vector<GoldenSequence> readSequences() {
  std::vector<GoldenSequence> sequences;
  for (const json& source : readSource("sequences.json")) {
    GoldenSequence& sequence = sequences.emplace_back();
    sequence.name = source.at("name").get<std::string>();
    for (const json& message : source.at("messages")) {
      sequence.messages.push_back({bytesOf(message.at(0)), message.at(1)});
      writeOut(sequence.messages.back().gives);
    }
  }
  return sequences;
}

testing::AssertionResult compare(const std::string& name, std::span<const std::uint8_t> expected,
                                 std::span<const std::uint8_t> actual,
                                 const std::vector<bool>& variable, std::size_t offset) {
  const auto show = [&] {
    return "\n  expected: " + hexFromBytes(expected) + "\n  actual:   " + hexFromBytes(actual);
  };
  for (std::size_t i = 0; i < expected.size() && i < actual.size(); ++i) {
    if (expected[i] != actual[i] && !variable[offset + i]) {
      return testing::AssertionFailure() << name << " differs at offset " << i << show();
    }
  }
  if (expected.size() != actual.size()) {
    return testing::AssertionFailure()
           << name << " has " << expected.size() << " bytes, not " << actual.size() << show();
  }
  return testing::AssertionSuccess() << name << " matches";
}

int digitValue(char digit) {
  if (digit >= '0' && digit <= '9') return digit - '0';
  if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
  if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
  return -1;
}

}  // namespace

std::string GoldenVector::text(std::string_view field) const {
  return values.at(std::string(field)).get<std::string>();
}

const std::vector<GoldenVector>& goldenVectors(std::string_view file) {
  static std::mutex mutex;
  static std::map<std::string, std::vector<GoldenVector>, std::less<>> files;
  const std::lock_guard lock(mutex);
  auto found = files.find(file);
  if (found == files.end()) {
    const std::string name(file);
    found = files.emplace(name, readFile(name)).first;
  }
  return found->second;
}

const GoldenVector& goldenVector(std::string_view file, std::string_view name) {
  for (const GoldenVector& vector : goldenVectors(file)) {
    if (vector.name == name) return vector;
  }
  throw std::runtime_error("no vector " + std::string(name) + " in " + std::string(file));
}

const std::vector<GoldenSequence>& goldenSequences() {
  static const std::vector<GoldenSequence> sequences = readSequences();
  return sequences;
}

testing::AssertionResult isMessage(const GoldenVector& vector,
                                   std::span<const std::uint8_t> actual) {
  return compare(vector.name, vector.bytes, actual, vector.variable, 0);
}

testing::AssertionResult isPayload(const GoldenVector& vector,
                                   std::span<const std::uint8_t> actual) {
  return compare(vector.name + "'s payload", vector.payload(), actual, vector.variable,
                 vector.headerLength);
}

Bytes bytesFromHex(std::string_view hex) {
  Bytes bytes;
  for (std::size_t i = 0; i < hex.size();) {
    if (hex[i] == ' ') {
      ++i;
      continue;
    }
    const int high = digitValue(hex[i]);
    const int low = i + 1 < hex.size() ? digitValue(hex[i + 1]) : -1;
    if (high < 0 || low < 0) throw std::runtime_error("not hexadecimal: " + std::string(hex));
    bytes.push_back(static_cast<std::uint8_t>(high * 16 + low));
    i += 2;
  }
  return bytes;
}

std::string hexFromBytes(std::span<const std::uint8_t> bytes) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string hex;
  for (const std::uint8_t byte : bytes) {
    if (!hex.empty()) hex += ' ';
    hex += kDigits[byte >> 4];
    hex += kDigits[byte & 15];
  }
  return hex;
}

}  // namespace orva_accelerator::test
