#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>

#include "tests/handlers/query_fixture.h"

namespace orva_accelerator::ipc {
namespace {

using test::answerTo;
using test::Bytes;
using test::goldenResponse;
using test::goldenVector;
using test::hexAt;
using test::isPayload;
using test::usedNodeRecord;

class GetGameUsedNodeList : public test::GameQueryTest {
 protected:
  GetGameUsedNodeList() {
    game->usedNodes.records = {usedNodeRecord(11, 2, L"asia-1", 38, L"Node 11", 1'761'661'963'614),
                               usedNodeRecord(21, 3, L"上海电信", 41, L"上海节点21", 7)};
  }

  Bytes answer() const {
    return answerTo(goldenVector("requests.json", "get_game_used_node_list"));
  }
};

TEST_F(GetGameUsedNodeList, HasEachNodesTextsBehindItsBlock) {
  EXPECT_TRUE(isPayload(goldenResponse("get_game_used_node_list_two"), answer()));
  EXPECT_THAT(kernel.calls(),
              testing::ElementsAre("Kernel_GetGameUsedNodeDataList(1001, null, 0)",
                                   "Kernel_GetGameUsedNodeDataList(1001, array, 2)"));
}

TEST_F(GetGameUsedNodeList, HasJustABlockForANodeWithoutTexts) {
  game->usedNodes.records = {usedNodeRecord(31, 4, L"", 0xFFFFFFFF, L"", 0)};
  const Bytes bytes = answer();
  EXPECT_EQ(bytes.size(), 8U + 32U);
  EXPECT_TRUE(isPayload(goldenResponse("get_game_used_node_list_empty_texts"), bytes));
}

TEST_F(GetGameUsedNodeList, HasEitherTextWithoutTheOther) {
  game->usedNodes.records = {usedNodeRecord(1, 2, L"", 3, L"b", 4),
                             usedNodeRecord(5, 6, L"a", 7, L"", 8)};
  EXPECT_EQ(test::hexFromBytes(answer()),
            "01 00 00 00 02 00 00 00 "
            "01 00 00 00 02 00 00 00 03 00 00 00 00 00 00 00 "
            "04 00 00 00 00 00 00 00 00 00 01 00 00 00 00 00 62 "
            "05 00 00 00 06 00 00 00 07 00 00 00 00 00 00 00 "
            "08 00 00 00 00 00 00 00 01 00 00 00 00 00 00 00 61");
}

TEST_F(GetGameUsedNodeList, CarriesMoreNodesThan16BitsCanCount) {
  game->usedNodes.records.assign(65'537, usedNodeRecord(1, 2, L"", 3, L"b", 4));
  const Bytes bytes = answer();
  EXPECT_EQ(bytes.size(), 8U + 65'537U * 33U);
  EXPECT_EQ(hexAt(bytes, 0, 8), "01 00 00 00 01 00 01 00");
}

TEST_F(GetGameUsedNodeList, CarriesTheLongestTexts) {
  const std::wstring longest(256, L'游');
  game->usedNodes.records = {usedNodeRecord(1, 2, longest, 0xFFFFFFFF, longest, ~0ULL)};
  const Bytes bytes = answer();
  ASSERT_EQ(bytes.size(), 8U + 32U + 768U + 768U);
  EXPECT_EQ(hexAt(bytes, 8, 32),
            "01 00 00 00 02 00 00 00 FF FF FF FF 00 00 00 00 "
            "FF FF FF FF FF FF FF FF 00 03 00 03 00 00 00 00");
  EXPECT_EQ(test::hexFromBytes(std::span(bytes).last(3)), "E6 B8 B8");
  EXPECT_TRUE(isPayload(goldenResponse("get_game_used_node_list_longest_texts"), bytes));
}

TEST_F(GetGameUsedNodeList, Is8BytesWithoutNodes) {
  game->usedNodes.records = {};
  EXPECT_EQ(answer(), (Bytes{1, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_TRUE(isPayload(goldenResponse("get_game_used_node_list_none"), answer()));
}

// The service ends there, as it does whenever memory runs out.
TEST_F(GetGameUsedNodeList, ThrowsWhenThereIsNoMemoryForTheCount) {
  game->usedNodes.announced = 0xFFFFFFFF;
  EXPECT_THROW((void)answer(), std::bad_alloc);
}

}  // namespace
}  // namespace orva_accelerator::ipc
