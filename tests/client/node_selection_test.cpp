#include "client/node_selection.h"

#include <gtest/gtest.h>

namespace orva_accelerator::client {
namespace {

TEST(NodeSelection, LetsThroughWhatTheServiceTakes) {
  for (const char* text :
       {"", "auto", "1", "1;2", "1;;2;", ";", "-3", "2147483647", "-2147483648", "007"}) {
    EXPECT_TRUE(isSafeNodeSelection(text)) << '"' << text << '"';
  }
}

TEST(NodeSelection, StopsWhatWouldEndTheService) {
  for (const char* text : {"AUTO", "auto;", "a", "1;x", "-", "+", "2147483648", "-2147483649", " ",
                           "99999999999999"}) {
    EXPECT_FALSE(isSafeNodeSelection(text)) << '"' << text << '"';
  }
}

TEST(NodeSelection, StopsWhatTheServiceWouldTakeForAnotherNumber) {
  EXPECT_FALSE(isSafeNodeSelection("7x"));
  EXPECT_FALSE(isSafeNodeSelection("1,2"));
}

}  // namespace
}  // namespace orva_accelerator::client
