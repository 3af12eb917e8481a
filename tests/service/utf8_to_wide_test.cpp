#include "service/utf8_to_wide.h"

#include <gtest/gtest.h>

#include "service/service_identity.h"

namespace orva_accelerator::service {
namespace {

TEST(Utf8ToWide, ConvertsTheDescription) {
  EXPECT_EQ(utf8ToWide(kServiceDescriptionUtf8),
            L"Orva \x6E38\x620F\x52A0\x901F\x5668\x540E\x53F0\x670D\x52A1");
}

TEST(Utf8ToWide, IsEmptyWhenTheTextIsMissingOrEmpty) {
  EXPECT_EQ(utf8ToWide(nullptr), L"");
  EXPECT_EQ(utf8ToWide(""), L"");
}

}  // namespace
}  // namespace orva_accelerator::service
