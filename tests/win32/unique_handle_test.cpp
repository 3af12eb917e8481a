#include "win32/unique_handle.h"

#include <gtest/gtest.h>

#include <type_traits>
#include <utility>
#include <vector>

#include "tests/support/import_patch.h"

namespace orva_accelerator::test {
namespace {

// Handles that are numbers, and what was closed so far.
struct NumberTraits {
  using Value = int;
  static Value none() noexcept { return -1; }
  static void close(Value value) {
    closed.push_back(value);
    SetLastError(ERROR_INVALID_HANDLE);
  }
  static inline std::vector<int> closed;
};
using Owner = win32::UniqueHandle<NumberTraits>;
using Closed = std::vector<int>;

class UniqueHandle : public testing::Test {
 protected:
  UniqueHandle() { NumberTraits::closed.clear(); }
};

// As a reference, so that no compiler sees that both sides are the same.
Owner& itself(Owner& owner) {
  return owner;
}

static_assert(!std::is_copy_constructible_v<Owner> && !std::is_copy_assignable_v<Owner>);
static_assert(!std::is_convertible_v<int, Owner>);

TEST_F(UniqueHandle, ClosesOnceWhatItHolds) {
  {
    const Owner owner(7);
    EXPECT_TRUE(owner);
    EXPECT_EQ(owner.get(), 7);
    EXPECT_EQ(NumberTraits::closed, Closed());
  }
  EXPECT_EQ(NumberTraits::closed, Closed({7}));
}

TEST_F(UniqueHandle, ClosesNothingWhenItHoldsNone) {
  {
    const Owner owner;
    EXPECT_FALSE(owner);
    EXPECT_EQ(owner.get(), -1);
    const Owner failed(-1);
    EXPECT_FALSE(failed);
  }
  EXPECT_EQ(NumberTraits::closed, Closed());
}

TEST_F(UniqueHandle, GivesItsHandleToTheOwnerThatIsMadeOfIt) {
  {
    Owner from(7);
    const Owner to(std::move(from));
    EXPECT_EQ(to.get(), 7);
    EXPECT_FALSE(from);  // NOLINT(bugprone-use-after-move): what is left is what this is about.
  }
  EXPECT_EQ(NumberTraits::closed, Closed({7}));
}

TEST_F(UniqueHandle, ClosesItsOldHandleWhenItTakesAnothers) {
  Owner from(7);
  Owner to(8);
  to = std::move(from);
  EXPECT_EQ(NumberTraits::closed, Closed({8}));
  EXPECT_EQ(to.get(), 7);
  EXPECT_FALSE(from);  // NOLINT(bugprone-use-after-move): what is left is what this is about.
}

TEST_F(UniqueHandle, SurvivesBeingMovedToItself) {
  Owner owner(7);
  owner = std::move(itself(owner));
  EXPECT_EQ(owner.get(), 7);
  EXPECT_EQ(NumberTraits::closed, Closed());
}

TEST_F(UniqueHandle, ClosesItsOldHandleWhenItIsGivenANewOne) {
  Owner owner(7);
  owner.reset(8);
  EXPECT_EQ(NumberTraits::closed, Closed({7}));
  EXPECT_EQ(owner.get(), 8);
  owner.reset();
  EXPECT_EQ(NumberTraits::closed, Closed({7, 8}));
  EXPECT_FALSE(owner);
}

TEST_F(UniqueHandle, DoesNotCloseWhatItGaveAway) {
  {
    Owner owner(7);
    EXPECT_EQ(owner.release(), 7);
    EXPECT_FALSE(owner);
  }
  EXPECT_EQ(NumberTraits::closed, Closed());
}

TEST_F(UniqueHandle, LeavesTheLastErrorAlone) {
  {
    Owner owner(7);
    SetLastError(ERROR_SERVICE_DOES_NOT_EXIST);
    owner.reset(8);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_SERVICE_DOES_NOT_EXIST});
  }
  EXPECT_EQ(GetLastError(), DWORD{ERROR_SERVICE_DOES_NOT_EXIST});
}

// Each kind: closed by its own function, and never what it calls none.
template <typename Unique, typename Function>
void expectClosedBy(const char* dll, const char* function, typename Unique::Value none) {
  const auto value = reinterpret_cast<typename Unique::Value>(std::uintptr_t{0x1234});
  ImportHook<Function> hook(dll, function);
  hook.failAllCalls(ERROR_INVALID_HANDLE, {});
  {
    const Unique owner(value);
  }
  {
    const Unique owner(none);
  }
  {
    const Unique owner;
  }
  ASSERT_EQ(hook.callCount(), 1U);
  EXPECT_EQ(std::get<0>(hook.calls()[0]), value);
}

TEST(UniqueKernelHandle, IsClosedByCloseHandleUnlessNull) {
  expectClosedBy<win32::UniqueKernelHandle, decltype(CloseHandle)>("kernel32.dll", "CloseHandle",
                                                                   nullptr);
}
TEST(UniqueFileHandle, IsClosedByCloseHandleUnlessInvalid) {
  expectClosedBy<win32::UniqueFileHandle, decltype(CloseHandle)>("kernel32.dll", "CloseHandle",
                                                                 INVALID_HANDLE_VALUE);
}
TEST(UniqueServiceHandle, IsClosedByCloseServiceHandleUnlessNull) {
  expectClosedBy<win32::UniqueServiceHandle, decltype(CloseServiceHandle)>(
      "advapi32.dll", "CloseServiceHandle", nullptr);
}
TEST(UniqueModule, IsFreedByFreeLibraryUnlessNull) {
  expectClosedBy<win32::UniqueModule, decltype(FreeLibrary)>("kernel32.dll", "FreeLibrary",
                                                             nullptr);
}
TEST(UniqueLocalMemory, IsFreedByLocalFreeUnlessNull) {
  expectClosedBy<win32::UniqueLocalMemory, decltype(LocalFree)>("kernel32.dll", "LocalFree",
                                                                nullptr);
}

}  // namespace
}  // namespace orva_accelerator::test
