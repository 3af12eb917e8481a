// Programs that were built with an older DLL rely on every number here.
#include <gmock/gmock.h>

#include <cstddef>
#include <vector>

#include "client/include/orva_client.h"
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
  EXPECT_THAT(UpToZero(kSizesInC), ElementsAreArray({512, 72, 56, 16, 8, 8, 64, 28, 56, 60, 136, 56,
                                                     24, 16, 72, 24, 24, 56}));
}

TEST(CHeader, GivesEveryRecordTheSameSizeInCPlusPlus) {
  EXPECT_THAT(
      UpToZero(kSizesInC),
      ElementsAreArray({sizeof(orva_error), sizeof(orva_endpoint), sizeof(orva_start_request),
                        sizeof(orva_text), sizeof(orva_owner), sizeof(orva_leave_outcome),
                        sizeof(orva_accel_data), sizeof(orva_console_data),
                        sizeof(orva_last_accel_info), sizeof(orva_speed_summary),
                        sizeof(orva_game_info), sizeof(orva_used_node), sizeof(orva_used_nodes),
                        sizeof(orva_bytes), sizeof(orva_accel_result), sizeof(orva_stop_result),
                        sizeof(orva_login_result), sizeof(orva_notification)}));
}

TEST(CHeader, PutsFieldsBehindPaddingWhereTheyArePublished) {
  EXPECT_THAT(UpToZero(kOffsetsInC), ElementsAreArray({40, 56, 24, 48, 16, 48, 60, 40, 8, 104, 128,
                                                       32, 48, 40, 64, 8, 16, 48}));
}

TEST(CHeader, HasTheVersionOfTheLibrary) {
  EXPECT_EQ(orva_api_version(), ORVA_API_VERSION);
}

TEST(CHeader, NumbersCodesForGood) {
  EXPECT_EQ(ORVA_OK, 0);
  EXPECT_EQ(ORVA_ERROR_USAGE, 1);
  EXPECT_EQ(ORVA_ERROR_NOT_INSTALLED, 2);
  EXPECT_EQ(ORVA_ERROR_NOT_RUNNING, 3);
  EXPECT_EQ(ORVA_ERROR_NOT_THE_SERVICE, 4);
  EXPECT_EQ(ORVA_ERROR_HUNG_UP, 5);
  EXPECT_EQ(ORVA_ERROR_TIMEOUT, 6);
  EXPECT_EQ(ORVA_ERROR_REFUSED, 7);
  EXPECT_EQ(ORVA_ERROR_PROTOCOL, 8);
  EXPECT_EQ(ORVA_ERROR_SYSTEM, 9);
  EXPECT_EQ(ORVA_ERROR_INTERRUPTED, 10);
  EXPECT_EQ(ORVA_ERROR_MEMORY, 11);
  EXPECT_EQ(ORVA_ERROR_INTERNAL, 12);
}

}  // namespace
}  // namespace orva_accelerator::client
