#include "tests/support/golden_vectors.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <span>

namespace orva_accelerator::test {
namespace {

std::uint32_t u32At(const Bytes& bytes, std::size_t offset) {
  return static_cast<std::uint32_t>(bytes.at(offset)) |
         static_cast<std::uint32_t>(bytes.at(offset + 1)) << 8 |
         static_cast<std::uint32_t>(bytes.at(offset + 2)) << 16 |
         static_cast<std::uint32_t>(bytes.at(offset + 3)) << 24;
}

class EveryGoldenVector : public testing::TestWithParam<const char*> {
 protected:
  const std::string file_ = GetParam();
  const std::vector<GoldenVector>& vectors_ = goldenVectors(file_);
};

TEST_P(EveryGoldenVector, HasANameOfItsOwn) {
  std::set<std::string> names;
  for (const GoldenVector& vector : vectors_) EXPECT_TRUE(names.insert(vector.name).second);
  EXPECT_FALSE(names.empty());
}

INSTANTIATE_TEST_SUITE_P(Files, EveryGoldenVector,
                         testing::Values("headers.json", "requests.json", "responses.json",
                                         "notifications.json"));

TEST(GoldenRequests, CarryTheirMagicTypeAndLength) {
  for (const GoldenVector& vector : goldenVectors("requests.json")) {
    SCOPED_TRACE(vector.name);
    EXPECT_EQ(u32At(vector.bytes, 0), 0x52584C50U);
    EXPECT_EQ(u32At(vector.bytes, 8), vector.type);
    EXPECT_EQ(u32At(vector.bytes, 12), vector.payload().size());
    EXPECT_EQ(u32At(vector.bytes, 20), vector.number<std::uint32_t>("clientId"));
  }
}

TEST(GoldenRequests, CoverEveryType) {
  std::set<std::uint32_t> types;
  for (const GoldenVector& vector : goldenVectors("requests.json")) types.insert(vector.type);
  for (const std::uint32_t type : {256U, 257U, 258U, 512U, 1280U, 1281U, 1282U, 1283U, 1536U, 1537U,
                                   1538U, 1539U, 1540U, 1541U, 1792U, 65535U}) {
    EXPECT_TRUE(types.contains(type)) << type;
  }
}

TEST(GoldenResponses, CarryAZeroAndTheirLength) {
  for (const GoldenVector& vector : goldenVectors("responses.json")) {
    SCOPED_TRACE(vector.name);
    EXPECT_EQ(u32At(vector.bytes, 0), 0U);
    EXPECT_EQ(u32At(vector.bytes, 4), vector.payload().size());
  }
}

TEST(GoldenNotifications, CarryTheirMagicTypeAndLength) {
  for (const GoldenVector& vector : goldenVectors("notifications.json")) {
    SCOPED_TRACE(vector.name);
    EXPECT_EQ(u32At(vector.bytes, 0), 0x52584B50U);
    EXPECT_EQ(u32At(vector.bytes, 4), vector.number<std::uint32_t>("clientId"));
    EXPECT_EQ(u32At(vector.bytes, 8), vector.type);
    EXPECT_EQ(u32At(vector.bytes, 12), vector.payload().size());
  }
}

TEST(GoldenVectors, WriteOutRepetitions) {
  const GoldenVector& vector = goldenVector("responses.json", "get_accel_data_longest_text");
  EXPECT_EQ(vector.payload().size(), 813U);
  EXPECT_EQ(vector.text("text3").size(), 765U);
  EXPECT_EQ(hexFromBytes(vector.payload().last(3)), "E6 B8 B8");
  const GoldenVector& list =
      goldenVector("responses.json", "get_game_used_node_list_longest_texts");
  EXPECT_EQ(list.values.at("nodes").at(0).at("usedText1").get<std::string>().size(), 768U);
}

TEST(GoldenSequences, ArePutTogetherFromTheirPieces) {
  const auto& sequences = goldenSequences();
  const auto wrapped = std::ranges::find(sequences, "wrapped_length", &GoldenSequence::name);
  ASSERT_NE(wrapped, sequences.end());
  ASSERT_EQ(wrapped->messages.size(), 2U);
  EXPECT_TRUE(wrapped->messages[0].gives.is_null());
  const auto& [bytes, gives] = wrapped->messages[1];
  EXPECT_EQ(bytes.size(), 32U + 65539U + 2U);
  EXPECT_EQ(hexFromBytes(std::span(bytes).last(3)), "61 62 62");
  EXPECT_EQ(gives.at("values").at("text1").get<std::string>().size(), 65539U);
}

TEST(GoldenVectors, AreMatchedExceptWhereTheyVary) {
  const GoldenVector& vector = goldenVector("notifications.json", "user_login_succeeded");
  Bytes actual = vector.bytes;
  actual[16] ^= 0xFF;  // The time.
  EXPECT_TRUE(isMessage(vector, actual));
  actual[4] ^= 0xFF;
  EXPECT_FALSE(isMessage(vector, actual));
  EXPECT_TRUE(isPayload(vector, vector.payload()));
  EXPECT_FALSE(isPayload(vector, vector.payload().first(7)));
}

TEST(GoldenVectors, ThrowForAnUnknownNameOrFile) {
  EXPECT_THROW(goldenVector("requests.json", "no_such_vector"), std::runtime_error);
  EXPECT_THROW(goldenVectors("no_such_file.json"), std::runtime_error);
}

TEST(Hex, IsReadAndWritten) {
  EXPECT_EQ(bytesFromHex("50 4c FF"), (Bytes{0x50, 0x4C, 0xFF}));
  EXPECT_EQ(hexFromBytes(Bytes{0x00, 0xA1}), "00 A1");
  EXPECT_THROW(bytesFromHex("5"), std::runtime_error);
  EXPECT_THROW(bytesFromHex("5 0"), std::runtime_error);
  EXPECT_THROW(bytesFromHex("XY"), std::runtime_error);
}

}  // namespace
}  // namespace orva_accelerator::test
