#include "tools/credential.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "tests/tools/standard_input.h"

namespace orva_accelerator::tools {
namespace {

client::Result<std::string> readFrom(std::string_view bytes) {
  const test::StandardInput input(bytes);
  Console console;
  return readCredential(console);
}

TEST(Credential, IsOneLineOfStandardInput) {
  EXPECT_EQ(readFrom("secret 密码\r\nnext\n").value(), "secret 密码");
  EXPECT_EQ(readFrom("without an end").value(), "without an end");
  EXPECT_EQ(readFrom("\n").value(), "");
}

TEST(Credential, IsAUsageErrorWhenThereIsNone) {
  EXPECT_EQ(readFrom("").error().kind, client::ErrorKind::Usage);
}

}  // namespace
}  // namespace orva_accelerator::tools
