#include "client/byte_reader.h"

#include <gtest/gtest.h>

namespace orva_accelerator::client {
namespace {

TEST(ByteReader, TakesNothingWhenTheRecordIsNotWholeThere) {
  const Bytes bytes{1, 2, 3};
  ByteReader reader(bytes);
  std::uint32_t word = 77;
  EXPECT_FALSE(reader.Take(word));
  EXPECT_EQ(word, 77u);
  EXPECT_EQ(reader.remaining(), 3u);
}

TEST(ByteReader, TakesTextUpToTheVeryEndAndNotBeyond) {
  const Bytes bytes{'a', 'b', 'c'};
  ByteReader reader(bytes);
  std::string text;
  EXPECT_FALSE(reader.TakeText(4, text));
  EXPECT_FALSE(reader.TakeText(static_cast<std::size_t>(-1), text));
  EXPECT_TRUE(reader.TakeText(3, text));
  EXPECT_EQ(text, "abc");
  EXPECT_TRUE(reader.TakeText(0, text));
  EXPECT_EQ(text, "");
}

}  // namespace
}  // namespace orva_accelerator::client
