// Only in the guarded build: what the allocator promises. Each bad access happens in a process of
// its own.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <cwchar>
#include <memory>
#include <new>
#include <string>
#include <thread>
#include <vector>

namespace orva_accelerator::test {
namespace {

constexpr int kAccessViolation = static_cast<int>(0xC0000005);

// The compiler must neither see where a pointer comes from nor drop an access that has no effect.
template <typename T>
T* opaque(T* pointer) {
  T* volatile hidden = pointer;
  return hidden;
}
void readByte(const void* address) {
  (void)*static_cast<const volatile char*>(address);
}
void writeByte(void* address) {
  *static_cast<volatile char*>(address) = 1;
}

class GuardPageAllocatorDeathTest : public testing::TestWithParam<std::size_t> {};

TEST_P(GuardPageAllocatorDeathTest, CatchesAReadPastTheEnd) {
  char* const block = opaque(new char[GetParam()]);
  readByte(block + GetParam() - 1);
  EXPECT_EXIT(readByte(block + GetParam()), testing::ExitedWithCode(kAccessViolation), "");
  delete[] block;
}

TEST_P(GuardPageAllocatorDeathTest, CatchesAWritePastTheEnd) {
  char* const block = opaque(new char[GetParam()]);
  writeByte(block + GetParam() - 1);
  EXPECT_EXIT(writeByte(block + GetParam()), testing::ExitedWithCode(kAccessViolation), "");
  delete[] block;
}

TEST_P(GuardPageAllocatorDeathTest, CatchesUseAfterFree) {
  EXPECT_EXIT(
      {
        char* const block = opaque(new char[GetParam()]);
        char* const same = opaque(block);
        delete[] block;
        readByte(same);
      },
      testing::ExitedWithCode(kAccessViolation), "");
}

INSTANTIATE_TEST_SUITE_P(Sizes, GuardPageAllocatorDeathTest,
                         testing::Values(1U, 7U, 16U, 60U, 4095U, 4096U, 4097U, 16'384U, 16'385U,
                                         65'537U, 262'144U, 262'145U, 1'000'003U));

TEST(GuardPageAllocatorDeathTest, CatchesAStringWithoutEnd) {
  wchar_t* const text = opaque(new wchar_t[4]{L'a', L'b', L'c', L'd'});
  EXPECT_EXIT(std::exit(static_cast<int>(std::wcslen(text))),
              testing::ExitedWithCode(kAccessViolation), "");
  delete[] text;
}

TEST(GuardPageAllocatorDeathTest, CatchesASecondFree) {
  EXPECT_EXIT(
      {
        char* const block = opaque(new char[8]);
        char* const same = opaque(block);
        delete[] block;
        delete[] same;
      },
      testing::ExitedWithCode(kAccessViolation), "");
}

TEST(GuardPageAllocatorDeathTest, CatchesAFreeInTheMiddleOfABlock) {
  EXPECT_EXIT(::operator delete(opaque(opaque(new char[8]) + 1)),
              testing::ExitedWithCode(kAccessViolation), "");
}

TEST(GuardPageAllocator, GivesAFreedAddressToNobodyForLong) {
  for (const std::size_t size : {8U, 10'000U}) {
    char* const freed = opaque(new char[size]);
    const auto address = reinterpret_cast<std::uintptr_t>(freed);
    delete[] freed;
    for (int i = 0; i < 8000; ++i) {
      const std::unique_ptr<char[]> next(opaque(new char[size]));
      ASSERT_NE(reinterpret_cast<std::uintptr_t>(next.get()), address) << i;
    }
  }
}

TEST(GuardPageAllocator, ServesMoreBlocksAtATimeThanItHasSlots) {
  std::vector<std::unique_ptr<int>> many;
  for (int i = 0; i < 20'000; ++i) many.push_back(std::make_unique<int>(i));
  EXPECT_EQ(*many.front(), 0);
  EXPECT_EQ(*many.back(), 19'999);
}

TEST(GuardPageAllocator, AlignsWhatAsksForIt) {
  struct alignas(64) Wide {
    char bytes[64];
  };
  const auto wide = std::make_unique<Wide>();
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(opaque(wide.get())) % 64, 0U);
  const auto words = std::make_unique<std::uint64_t[]>(3);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(opaque(words.get())) % alignof(std::uint64_t), 0U);
}

TEST(GuardPageAllocator, ThrowsWhenThereIsNotEnoughMemory) {
  volatile std::size_t tooMuch = SIZE_MAX / 4;
  EXPECT_THROW((void)::operator new(tooMuch), std::bad_alloc);
  EXPECT_EQ(::operator new(tooMuch, std::nothrow), nullptr);
}

TEST(GuardPageAllocator, ServesManyThreadsBeyondItsQuarantine) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([] {
      for (std::size_t n = 1; n <= 3000; ++n) {
        std::vector<std::uint8_t> block(n, 0x5A);
        ASSERT_EQ(block.back(), 0x5A);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace orva_accelerator::test
