#include "ipc/wire/headers.h"

#include <gtest/gtest.h>

#include <cstring>

#include "tests/support/golden_vectors.h"

namespace orva_accelerator::test {
namespace {

template <typename Record>
Bytes bytesOf(const Record& record) {
  Bytes bytes(sizeof(record));
  std::memcpy(bytes.data(), &record, sizeof(record));
  return bytes;
}

TEST(WireHeaders, RequestHeaderHasItsGoldenBytes) {
  const ipc::MessageHeader header = {ipc::kRequestMagic, 0x11223344, 0x500,
                                     0x01020304,         0x55667788, 0xA1B2C3D4};
  EXPECT_TRUE(isMessage(goldenVector("headers.json", "request_header"), bytesOf(header)));
}

TEST(WireHeaders, ResponseHeaderHasItsGoldenBytes) {
  const ipc::ResponseHeader header = {0, 813};
  EXPECT_TRUE(isMessage(goldenVector("headers.json", "response_header"), bytesOf(header)));
}

TEST(WireHeaders, PushFrameHeaderHasItsGoldenBytes) {
  const ipc::PushFrameHeader header = {ipc::kPushMagic, 0xA1B2C3D4, 0x1002, 45, 0x12345678};
  EXPECT_EQ(bytesOf(header), goldenVector("headers.json", "push_frame_header").bytes);
}

TEST(WireHeaders, MagicsAreTheirLetters) {
  EXPECT_EQ(bytesOf(ipc::kRequestMagic), (Bytes{'P', 'L', 'X', 'R'}));
  EXPECT_EQ(bytesOf(ipc::kPushMagic), (Bytes{'P', 'K', 'X', 'R'}));
}

}  // namespace
}  // namespace orva_accelerator::test
