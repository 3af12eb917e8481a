// What a login leaves behind in the memory of the process.
#include <gtest/gtest.h>
#include <windows.h>

#include "ipc/wire/messages.h"
#include "tests/handlers/dispatched_request.h"
#include "tests/support/initialised_kernel.h"

namespace orva_accelerator::ipc {
namespace {

using test::Bytes;

// The text of a credential, made up anew wherever it is needed, so that this test has no copy of it
// in the service's form.
wchar_t unitAt(std::size_t index) {
  return static_cast<wchar_t>('A' + index * index % 53);
}

bool isReadable(const MEMORY_BASIC_INFORMATION& region) {
  return region.State == MEM_COMMIT && region.Protect == PAGE_READWRITE;
}

// How often `length` units of the credential, from the one at `first`, stand anywhere in memory
// that can be written: heap, freed blocks, stacks, data.
int copiesInMemory(std::size_t first, std::size_t length) {
  int found = 0;
  MEMORY_BASIC_INFORMATION region;
  const std::uint8_t* at = nullptr;
  for (; VirtualQuery(at, &region, sizeof(region)) != 0; at += region.RegionSize) {
    if (!isReadable(region)) continue;
    const auto* units = static_cast<const volatile wchar_t*>(region.BaseAddress);
    const std::size_t count = region.RegionSize / sizeof(wchar_t);
    for (std::size_t i = 0; i + length <= count; ++i) {
      std::size_t same = 0;
      while (same < length && units[i + same] == unitAt(first + same)) ++same;
      if (same == length) ++found;
    }
  }
  return found;
}

// A login whose account and credential are both that long.
Bytes loginWith(std::uint16_t length) {
  const auto low = static_cast<std::uint8_t>(length);
  const auto high = static_cast<std::uint8_t>(length >> 8);
  Bytes payload = {low, high, low, high};
  for (int texts = 0; texts < 2; ++texts) {
    for (std::size_t i = 0; i < length; ++i) {
      payload.push_back(static_cast<std::uint8_t>(unitAt(i)));
    }
  }
  return payload;
}

// Where the longer one is, its first units may be overwritten by the heap when it is freed.
struct Row {
  std::uint16_t length;
  std::size_t first;
  std::size_t looked;
};

TEST(Credentials, AreNowhereInMemoryOnceTheLibraryHasThem) {
  test::InitialisedKernel kernel;
  for (const Row& row : {Row{7, 0, 7}, Row{300, 100, 100}}) {
    SCOPED_TRACE(row.length);
    int during = 0;
    kernel.Kernel_UserLoginFromAccount = [&](auto...) {
      during = copiesInMemory(row.first, row.looked);
      return sdk::KernelBool{1};
    };
    EXPECT_EQ(test::answerTo(MsgUserLogin, loginWith(row.length)), (Bytes{1, 0, 0, 0}));
    EXPECT_GE(during, 2);  // Or the search would find nothing at all.
    EXPECT_EQ(copiesInMemory(row.first, row.looked), 0);
  }
}

}  // namespace
}  // namespace orva_accelerator::ipc
