#include "tools/hex.h"

#include <gtest/gtest.h>

namespace orva_accelerator::tools {
namespace {

TEST(Hex, ReadsPairsWithAndWithoutBlanks) {
  EXPECT_EQ(parseHex(""), client::Bytes());
  EXPECT_EQ(parseHex("0100ff"), (client::Bytes{1, 0, 255}));
  EXPECT_EQ(parseHex(" 01 00  FF "), (client::Bytes{1, 0, 255}));
}

TEST(Hex, RefusesEverythingElse) {
  for (const char* text : {"0", "0 1", "0g", "0x01", "012", "01,02"}) {
    EXPECT_FALSE(parseHex(text).has_value()) << '"' << text << '"';
  }
}

TEST(Hex, DumpsSixteenBytesALine) {
  client::Bytes bytes;
  for (std::uint8_t i = 0; i < 18; ++i) bytes.push_back(static_cast<std::uint8_t>('A' + i));
  bytes[1] = 0;
  EXPECT_EQ(hexDump(bytes),
            "00000000  41 00 43 44 45 46 47 48  49 4a 4b 4c 4d 4e 4f 50  |A.CDEFGHIJKLMNOP|\n"
            "00000010  51 52                                             |QR|\n");
  EXPECT_EQ(plainHex(client::Bytes{1, 0xAB}), "01ab");
}

}  // namespace
}  // namespace orva_accelerator::tools
