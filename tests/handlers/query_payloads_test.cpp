// The six queries with payloads that are absent, short or longer than announced, and lengths that
// lie. Memory ends right behind what a connection promises its handlers (see answerTo).
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ipc/wire/messages.h"
#include "tests/handlers/dispatched_request.h"
#include "tests/support/initialised_kernel.h"
#include "tests/support/scripted_game.h"

namespace orva_accelerator::ipc {
namespace {

using test::answerTo;
using test::Bytes;
using testing::Contains;
using testing::ElementsAre;
using testing::StartsWith;

class QueryPayloads : public testing::Test {
 protected:
  QueryPayloads() {
    test::answerForGame(kernel, game);
    kernel.Kernel_GetTestSpeedData_V2 = [this](std::uint32_t, std::uint32_t, const wchar_t* key,
                                               std::uint32_t, sdk::TestSpeedSummary*,
                                               sdk::TestSpeedEntry*, std::uint32_t*) {
      serverKey = key;
      return sdk::KernelBool{0};
    };
  }

  test::InitialisedKernel kernel;
  const std::shared_ptr<test::ScriptedGame> game = std::make_shared<test::ScriptedGame>();
  std::wstring serverKey;
};

TEST_F(QueryPayloads, AreReadAsZerosWhenAbsent) {
  EXPECT_EQ(answerTo(MsgGetGameLastAccelInfo), Bytes(24, 0));
  EXPECT_EQ(answerTo(MsgGetGameAccelInfo), Bytes(64, 0));
  EXPECT_EQ(answerTo(MsgGetTestSpeedData), Bytes(60, 0));
  EXPECT_EQ(answerTo(MsgGetGameUsedNodeList), (Bytes{1, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_THAT(kernel.calls(), ElementsAre("Kernel_GetGameLastAccelInfo(0, 256, 256)",
                                          "Kernel_GetGameLastAccelInfo(0, 256, 256)",
                                          "Kernel_GetTestSpeedData_V2(0, 0, \"\", 0, null, 0)",
                                          "Kernel_GetGameUsedNodeDataList(0, null, 0)"));
}

TEST_F(QueryPayloads, AreContinuedByTheirMarginWhenShort) {
  const Bytes two = {0xE9, 0x03};
  EXPECT_EQ(answerTo(MsgGetGameLastAccelInfo, two).at(0), 1);
  EXPECT_EQ(answerTo(MsgGetGameAccelInfo, two).at(0), 1);
  (void)answerTo(MsgGetTestSpeedData, two);
  (void)answerTo(MsgGetGameUsedNodeList, two);
  EXPECT_THAT(kernel.calls(), Contains("Kernel_GetTestSpeedData_V2(1001, 0, \"\", 0, null, 0)"));
  EXPECT_THAT(kernel.calls(), Contains("Kernel_GetGameUsedNodeDataList(1001, null, 0)"));
}

TEST_F(QueryPayloads, AreReadNoFurtherThanTheirFixedPartWhenLong) {
  Bytes payload(70'000, 0xAA);
  payload[0] = 0xE9;
  payload[1] = 0x03;
  payload[2] = payload[3] = 0;
  EXPECT_EQ(answerTo(MsgGetGameLastAccelInfo, payload).at(0), 1);
  EXPECT_EQ(answerTo(MsgGetGameAccelInfo, payload).at(0), 1);
  (void)answerTo(MsgGetGameUsedNodeList, payload);
  EXPECT_THAT(kernel.calls(), Contains("Kernel_GetGameUsedNodeDataList(1001, null, 0)"));
}

TEST_F(QueryPayloads, AreIgnoredByQueriesThatHaveNone) {
  const Bytes none = answerTo(MsgGetAccelData);
  EXPECT_EQ(none, Bytes(48, 0));
  EXPECT_EQ(answerTo(MsgGetAccelData, Bytes(5000, 0xFF), 0xFF), none);
  EXPECT_EQ(answerTo(MsgGetConsoleData, Bytes(3, 0xFF), 0xFF), answerTo(MsgGetConsoleData));
}

// Whatever an earlier request of the connection left in the margin.
TEST_F(QueryPayloads, MayAnnounceTheLongestTextAndHaveNoneOfIt) {
  // serverKeyLength is 65535 and no byte of the key was sent.
  const Bytes payload = {1, 0, 0, 0, 2, 0, 0, 0, 0xFF, 0xFF, 0, 0, 3, 0, 0, 0};
  EXPECT_EQ(answerTo(MsgGetTestSpeedData, payload, 'k'), Bytes(60, 0));
  EXPECT_EQ(serverKey, std::wstring(65'535, L'k'));
}

TEST_F(QueryPayloads, MayHaveTheirLengthsFromTheMargin) {
  // No byte was sent: length, numbers and key are all 0x6B, and so within the margin.
  EXPECT_EQ(answerTo(MsgGetTestSpeedData, {}, 0x6B), Bytes(60, 0));
  EXPECT_EQ(serverKey, std::wstring(0x6B6B, L'k'));
  EXPECT_EQ(answerTo(MsgGetTestSpeedData, {}, 0xFF), Bytes(60, 0));
  EXPECT_EQ(serverKey.size(), 65'535U);  // Not UTF-8: each byte is replaced.
  EXPECT_EQ(answerTo(MsgGetGameLastAccelInfo, {}, 0xFF), Bytes(24, 0));
  EXPECT_EQ(answerTo(MsgGetGameAccelInfo, {}, 0xFF), Bytes(64, 0));
  EXPECT_EQ(answerTo(MsgGetGameUsedNodeList, {}, 0xFF), (Bytes{1, 0, 0, 0, 0, 0, 0, 0}));
}

TEST_F(QueryPayloads, PassOnAKeyWithANulAsFarAsIt) {
  const Bytes payload = {1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0, 3, 0, 0, 0, 'a', 0, 'b'};
  (void)answerTo(MsgGetTestSpeedData, payload);
  EXPECT_EQ(serverKey, L"a");
}

}  // namespace
}  // namespace orva_accelerator::ipc
