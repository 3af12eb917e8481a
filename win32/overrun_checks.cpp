// What the stack protector and the checked library calls, which the compiler puts into every
// function, need at run time: the value that guards each frame with an array in it, the checked
// calls, and the end of a process that has overrun an array.
//
// The toolchain's own library for this asks the system's cryptography service for the value, which
// costs every start a DLL, and tells a console about the end. Here both are done as other Windows
// programs do them.
#include <windows.h>

#include <cstdint>
#include <cstring>
#include <initializer_list>

namespace {

// Ends the process at once with 0xC0000409, without running any handler: what is on the stack
// cannot be trusted. This is __fastfail, which MinGW-w64 does not have.
[[noreturn]] void failFast(unsigned reason) {
  __asm__ volatile("int $0x29" : : "c"(reason) : "memory");
  __builtin_unreachable();
}

}  // namespace

// The names are the compiler's, and therefore reserved.
// NOLINTBEGIN(bugprone-reserved-identifier)
#ifdef __clang__
#pragma clang diagnostic ignored "-Wreserved-identifier"
#endif

extern "C" {

// Compared with the copy at the end of a frame before the function returns.
std::uintptr_t __stack_chk_guard = 0x00002B992DDFA200;

[[noreturn]] void __stack_chk_fail();
[[noreturn]] void __chk_fail();
void* __memcpy_chk(void* to, const void* from, std::size_t size, std::size_t room);
void* __memmove_chk(void* to, const void* from, std::size_t size, std::size_t room);
void* __memset_chk(void* to, int value, std::size_t size, std::size_t room);

void __stack_chk_fail() {
  failFast(FAST_FAIL_STACK_COOKIE_CHECK_FAILURE);
}

void __chk_fail() {
  failFast(FAST_FAIL_RANGE_CHECK_FAILURE);
}

void* __memcpy_chk(void* to, const void* from, std::size_t size, std::size_t room) {
  if (size > room) __chk_fail();
  return std::memcpy(to, from, size);
}

void* __memmove_chk(void* to, const void* from, std::size_t size, std::size_t room) {
  if (size > room) __chk_fail();
  return std::memmove(to, from, size);
}

void* __memset_chk(void* to, int value, std::size_t size, std::size_t room) {
  if (size > room) __chk_fail();
  return std::memset(to, value, size);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)

namespace {

// Another value in every process, from what only this process knows in this moment: the time to the
// system's finest tick, its number, and where its image and its stack came to lie.
std::uintptr_t unpredictable() {
  FILETIME time = {};
  GetSystemTimeAsFileTime(&time);
  LARGE_INTEGER ticks = {};
  // Never fails on any system on which this runs.
  (void)QueryPerformanceCounter(&ticks);
  std::uint64_t value = (std::uint64_t{time.dwHighDateTime} << 32U) | time.dwLowDateTime;
  for (const std::uint64_t part :
       {static_cast<std::uint64_t>(ticks.QuadPart), std::uint64_t{GetCurrentProcessId()},
        std::uint64_t{GetCurrentThreadId()}, reinterpret_cast<std::uint64_t>(&time),
        reinterpret_cast<std::uint64_t>(&__stack_chk_guard)}) {
    value = (value ^ part) * 0xFF51AFD7ED558CCDU;
    value ^= value >> 33U;
  }
  return value;
}

// Before every other constructor, and before any function that is protected has been entered. The
// lowest byte stays zero: no text that runs over the end of its array can write it and go on.
[[gnu::constructor(101)]] void chooseGuard() {
  __stack_chk_guard = unpredictable() & ~std::uintptr_t{0xFF};
}

}  // namespace
