// Functions that are compiled as those of the service are, and write beyond an array.
#include <windows.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

// Where the compiler looks for it. NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" std::uintptr_t __stack_chk_guard;

namespace orva_accelerator::test {
namespace {

// STATUS_STACK_BUFFER_OVERRUN, with which the system notes the end for any such reason.
constexpr int kOverrun = static_cast<int>(0xC0000409);

// The compiler must not know.
volatile std::size_t tooMuch = 64;
volatile char seen = 0;

[[gnu::noinline]] void writeTo(char* array, std::size_t size) {
  for (std::size_t i = 0; i < size; ++i) static_cast<volatile char*>(array)[i] = 'x';
}

[[gnu::noinline]] void overrunFrame() {
  char array[16];
  writeTo(array, tooMuch);
  seen = array[0];
}

[[gnu::noinline]] void copyBeyond(const char* source) {
  struct {
    char array[16];
    char behind[128];
  } frame = {};
  (void)std::memcpy(frame.array, source, tooMuch);
  seen = frame.behind[0];
}

TEST(OverrunFrame, EndsTheProcessWhenItsFunctionReturns) {
  EXPECT_EXIT(overrunFrame(), testing::ExitedWithCode(kOverrun), "");
}

TEST(CopyThatDoesNotFit, EndsTheProcess) {
  const char source[128] = {};
  tooMuch = sizeof source + 32;
  EXPECT_EXIT(copyBeyond(source), testing::ExitedWithCode(kOverrun), "");
}

// As it stands in the file it would be known to everybody.
TEST(StackGuard, IsChosenAtTheStartAndBeginsWithAZero) {
  EXPECT_NE(__stack_chk_guard & ~std::uintptr_t{0xFFFF}, 0x00002B992DDF0000u);
  EXPECT_NE(__stack_chk_guard >> 8U, 0u);
  EXPECT_EQ(__stack_chk_guard & 0xFFU, 0u);
}

}  // namespace
}  // namespace orva_accelerator::test
