// The messages in tests/vectors, which has a README of its own.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace orva_accelerator::test {

using Bytes = std::vector<std::uint8_t>;

struct GoldenVector {
  std::string name;
  std::string message;         // "MsgSdkInit", ...; empty for none or an unknown type.
  std::uint32_t type{};        // Its number; 0 for none.
  nlohmann::json values;       // Field name to meaning; repeated texts are written out.
  Bytes bytes;                 // Header and payload.
  std::vector<bool> variable;  // As long as `bytes`; true where they differ from run to run.
  std::size_t headerLength{};  // How many of `bytes` belong to the header.

  std::span<const std::uint8_t> header() const { return {bytes.data(), headerLength}; }
  std::span<const std::uint8_t> payload() const {
    return std::span<const std::uint8_t>(bytes).subspan(headerLength);
  }
  // A text of `values` in UTF-8; throws when there is none of that name.
  std::string text(std::string_view field) const;
  // A number of `values`; throws when there is none of that name.
  template <typename Integer>
  Integer number(std::string_view field) const {
    return values.at(std::string(field)).get<Integer>();
  }
};

// All vectors of a file ("requests.json"), read once. Throws std::runtime_error, which fails a
// test, when the file cannot be read or breaks the format.
const std::vector<GoldenVector>& goldenVectors(std::string_view file);

// One vector of a file; throws std::runtime_error when there is none of that name.
const GoldenVector& goldenVector(std::string_view file, std::string_view name);

// What comes on the push pipe, message by message, and what each gives: null for nothing yet,
// "lost", or an object with the notification's clientId, type, timestamp, and values or payload.
struct GoldenSequence {
  struct Message {
    Bytes bytes;
    nlohmann::json gives;
  };
  std::string name;
  std::vector<Message> messages;
};

// All of them, read once. Throws std::runtime_error as goldenVectors does.
const std::vector<GoldenSequence>& goldenSequences();

// Whether `actual` is the whole message, or just its payload, except where bytes vary. The failure
// message shows the first difference.
testing::AssertionResult isMessage(const GoldenVector& vector,
                                   std::span<const std::uint8_t> actual);
testing::AssertionResult isPayload(const GoldenVector& vector,
                                   std::span<const std::uint8_t> actual);

// "50 4C 58 52" to bytes and back. Throws std::runtime_error for anything else than pairs of
// hexadecimal digits and blanks.
Bytes bytesFromHex(std::string_view hex);
std::string hexFromBytes(std::span<const std::uint8_t> bytes);

}  // namespace orva_accelerator::test
