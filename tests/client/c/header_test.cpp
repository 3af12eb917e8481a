// Programs that were built with an older DLL rely on every number here.
#include <gmock/gmock.h>

#include <cstddef>
#include <vector>

#include "client/c/orva_client.h"
#include "tests/client/c/header_as_c.h"

namespace orva_accelerator::client {
namespace {

using testing::ElementsAreArray;

std::vector<std::size_t> UpToZero(const std::size_t* numbers) {
  std::vector<std::size_t> all;
  for (; *numbers != 0; ++numbers) all.push_back(*numbers);
  return all;
}

TEST(CHeader, GivesEveryRecordItsPublishedSize) {
  EXPECT_THAT(UpToZero(kSizesInC),
              ElementsAreArray({512, 40, 48, 8, 8, 40, 28, 20, 60, 48, 24, 12, 36, 8}));
}

TEST(CHeader, GivesEveryRecordTheSameSizeInCPlusPlus) {
  EXPECT_THAT(UpToZero(kSizesInC),
              ElementsAreArray({sizeof(orva_error), sizeof(orva_endpoint),
                                sizeof(orva_start_request), sizeof(orva_owner),
                                sizeof(orva_leave_outcome), sizeof(orva_accel_data_numbers),
                                sizeof(orva_console_data), sizeof(orva_last_accel_info_numbers),
                                sizeof(orva_speed_summary), sizeof(orva_game_info_numbers),
                                sizeof(orva_used_node_numbers), sizeof(orva_notification_head),
                                sizeof(orva_accel_result), sizeof(orva_stop_result)}));
}

TEST(CHeader, PutsFieldsBehindPaddingWhereTheyArePublished) {
  EXPECT_THAT(UpToZero(kOffsetsInC), ElementsAreArray({32, 16, 40, 24, 36, 32, 40, 16}));
}

TEST(CHeader, HasTheVersionOfTheLibrary) {
  EXPECT_EQ(orva_api_version(), ORVA_API_VERSION);
}

TEST(CHeader, NumbersCodesAndTextsForGood) {
  EXPECT_EQ(ORVA_OK, 0);
  EXPECT_EQ(ORVA_ERROR_USAGE, 1);
  EXPECT_EQ(ORVA_ERROR_NO_SERVICE, 2);
  EXPECT_EQ(ORVA_ERROR_TIMEOUT, 3);
  EXPECT_EQ(ORVA_ERROR_REFUSED, 4);
  EXPECT_EQ(ORVA_ERROR_PROTOCOL, 5);
  EXPECT_EQ(ORVA_ERROR_SYSTEM, 6);
  EXPECT_EQ(ORVA_ERROR_INTERRUPTED, 7);
  EXPECT_EQ(ORVA_ERROR_MEMORY, 8);
  EXPECT_EQ(ORVA_ERROR_INTERNAL, 9);
  EXPECT_EQ(ORVA_TEXT_TEXT3, 1);
  EXPECT_EQ(ORVA_TEXT_INFO_TEXT, 2);
  EXPECT_EQ(ORVA_TEXT_SERVER_KEY, 3);
  EXPECT_EQ(ORVA_TEXT_GAME_TEXT, 4);
  EXPECT_EQ(ORVA_TEXT_SERVER_TEXT, 5);
  EXPECT_EQ(ORVA_TEXT_NODE_TEXT, 6);
  EXPECT_EQ(ORVA_TEXT_USED_TEXT1, 7);
  EXPECT_EQ(ORVA_TEXT_USED_TEXT2, 8);
  EXPECT_EQ(ORVA_TEXT_RESULT_TEXT1, 9);
  EXPECT_EQ(ORVA_TEXT_RESULT_TEXT2, 10);
}

}  // namespace
}  // namespace orva_accelerator::client
