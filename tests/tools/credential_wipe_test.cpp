// Reading a credential leaves nothing of it in memory but what the caller is given. The program's
// global operators are replaced, so nothing else is tested here.
#include <gtest/gtest.h>

#include <string>

#include "tests/support/credential_watch.h"
#include "tests/support/import_patch.h"
#include "tests/tools/standard_input.h"
#include "tools/credential.h"

namespace orva_accelerator::tools {
namespace {

// So long that it would be moved, had it to grow.
TEST(CredentialOfStandardInput, LeavesNoPartOfItselfBehind) {
  const std::string credential = std::string(test::kSecret) + std::string(200, 'x');
  const test::StandardInput input(credential + "\n");
  EXPECT_EQ(test::leaksOf([&] {
              Console console;
              auto read = readCredential(console);
              ASSERT_TRUE(read.ok());
              EXPECT_EQ(read.value(), credential);
              SecureZeroMemory(read.value().data(), read.value().size());
            }),
            0);
}

TEST(CredentialOfStandardInput, IsWipedWhenItCannotBeReadToItsEnd) {
  const std::string credential = std::string(test::kSecret) + std::string(200, 'x');
  const test::StandardInput input(credential);
  test::ImportHook<decltype(ReadFile)> hook("kernel32.dll", "ReadFile");
  hook.failCall(credential.size() + 1, ERROR_READ_FAULT, FALSE);
  EXPECT_EQ(test::leaksOf([&] {
              Console console;
              EXPECT_FALSE(readCredential(console).ok());
            }),
            0);
}

}  // namespace
}  // namespace orva_accelerator::tools
