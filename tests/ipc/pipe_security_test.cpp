#include "ipc/pipe_listener.h"

#include <gtest/gtest.h>
#include <windows.h>
// After windows.h, which it does not include.
#include <aclapi.h>
#include <sddl.h>

#include <atomic>
#include <string>
#include <vector>

#include "tests/ipc/background_call.h"
#include "tests/support/import_patch.h"
#include "tests/support/pipe_names.h"
#include "win32/unique_handle.h"

namespace orva_accelerator::test {
namespace {

using ConvertHook = ImportHook<decltype(ConvertStringSecurityDescriptorToSecurityDescriptorW)>;

TEST(PipeSecurity, IsOneRecordForEverybody) {
  SECURITY_ATTRIBUTES* const first = ipc::buildPipeSecurity();
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(ipc::buildPipeSecurity(), first);
  EXPECT_EQ(first->nLength, 24U);
  EXPECT_FALSE(first->bInheritHandle);
  EXPECT_TRUE(IsValidSecurityDescriptor(first->lpSecurityDescriptor));
}

TEST(PipeSecurity, FreesTheDescriptorBeforeAndThenConvertsTheString) {
  const SECURITY_ATTRIBUTES* const security = ipc::buildPipeSecurity();
  ASSERT_NE(security, nullptr);
  const void* const before = security->lpSecurityDescriptor;
  ImportHook<decltype(LocalFree)> localFree("kernel32.dll", "LocalFree");
  ConvertHook convert("advapi32.dll", "ConvertStringSecurityDescriptorToSecurityDescriptorW");
  std::vector<std::string> order;
  localFree.observe([&](HLOCAL memory) {
    EXPECT_EQ(memory, before);
    order.emplace_back("LocalFree");
  });
  convert.observe([&](LPCWSTR text, DWORD revision, PSECURITY_DESCRIPTOR*, PULONG) {
    EXPECT_STREQ(text, L"D:(A;;GRGW;;;AU)");
    EXPECT_EQ(revision, 1U);
    order.emplace_back("Convert");
  });
  EXPECT_EQ(ipc::buildPipeSecurity(), security);
  EXPECT_EQ(order, (std::vector<std::string>{"LocalFree", "Convert"}));
}

TEST(PipeSecurity, IsNullWhenTheStringCannotBeConvertedAndRecovers) {
  ASSERT_NE(ipc::buildPipeSecurity(), nullptr);
  ImportHook<decltype(LocalFree)> localFree("kernel32.dll", "LocalFree");
  {
    ConvertHook convert("advapi32.dll", "ConvertStringSecurityDescriptorToSecurityDescriptorW");
    convert.failAllCalls(ERROR_NOT_ENOUGH_MEMORY, FALSE);
    EXPECT_EQ(ipc::buildPipeSecurity(), nullptr);
    EXPECT_EQ(ipc::buildPipeSecurity(), nullptr);
  }
  EXPECT_EQ(localFree.callCount(), 1U);  // The freed one is not freed again.
  EXPECT_NE(ipc::buildPipeSecurity(), nullptr);
  EXPECT_EQ(localFree.callCount(), 1U);
}

// Without a descriptor the system would make a pipe that everybody may open for reading.
TEST(PipeSecurity, IsNeverLeftToTheSystem) {
  ASSERT_NE(ipc::buildPipeSecurity(), nullptr);
  {
    ConvertHook convert("advapi32.dll", "ConvertStringSecurityDescriptorToSecurityDescriptorW");
    convert.failAllCalls(ERROR_NOT_ENOUGH_MEMORY, FALSE);
    EXPECT_EQ(ipc::buildPipeSecurity(), nullptr);
  }
  ImportHook<decltype(CreateNamedPipeW)> create("kernel32.dll", "CreateNamedPipeW");
  SetLastError(0);
  EXPECT_FALSE(ipc::createSecuredPipe(uniquePipeName(L"open")));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_SECURITY_DESCR));
  EXPECT_EQ(create.callCount(), 0U);
  EXPECT_NE(ipc::buildPipeSecurity(), nullptr);
}

TEST(PipeSecurity, LetsAuthenticatedUsersReadAndWriteAndNobodyElse) {
  ASSERT_NE(ipc::buildPipeSecurity(), nullptr);
  const win32::UniqueFileHandle pipe = ipc::createSecuredPipe(uniquePipeName(L"secured"));
  ASSERT_TRUE(pipe);
  PACL list = nullptr;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  ASSERT_EQ(GetSecurityInfo(pipe.get(), SE_KERNEL_OBJECT, DACL_SECURITY_INFORMATION, nullptr,
                            nullptr, &list, nullptr, &descriptor),
            static_cast<DWORD>(ERROR_SUCCESS));
  const win32::UniqueLocalMemory owned(descriptor);
  ASSERT_NE(list, nullptr);
  ASSERT_EQ(list->AceCount, 1);
  void* entry = nullptr;
  ASSERT_TRUE(GetAce(list, 0, &entry));
  auto* const allowed = static_cast<ACCESS_ALLOWED_ACE*>(entry);
  EXPECT_EQ(allowed->Header.AceType, ACCESS_ALLOWED_ACE_TYPE);
  // Stored as given, or as what it means for a pipe.
  EXPECT_TRUE(allowed->Mask == (GENERIC_READ | GENERIC_WRITE) ||
              allowed->Mask == (FILE_GENERIC_READ | FILE_GENERIC_WRITE))
      << std::hex << allowed->Mask;
  EXPECT_TRUE(IsWellKnownSid(&allowed->SidStart, WinAuthenticatedUserSid));
}

TEST(PipeSecurity, MayBeRebuiltWhilePipesAreCreated) {
  SECURITY_ATTRIBUTES* const security = ipc::buildPipeSecurity();
  ASSERT_NE(security, nullptr);
  std::atomic<bool> over{false};
  const BackgroundCall rebuild([&] {
    while (!over) EXPECT_EQ(ipc::buildPipeSecurity(), security);
  });
  for (int i = 0; i < 500; ++i) {
    const win32::UniqueFileHandle pipe = ipc::createSecuredPipe(uniquePipeName(L"secured"));
    EXPECT_TRUE(pipe) << GetLastError();
  }
  over = true;
  EXPECT_TRUE(rebuild.ends());
}

}  // namespace
}  // namespace orva_accelerator::test
