#include "tests/fuzz/coverage.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <bit>

namespace orva_accelerator::fuzz {
namespace {

constexpr std::size_t kEdges = 1U << 16;
constexpr std::size_t kValues = 256;

std::array<std::uint8_t, kEdges> passes;
// For each edge, one bit for each power of two of passes seen in one run.
std::array<std::uint8_t, kEdges> seen;
std::array<std::uint32_t, 4096> touched;
std::size_t touchedCount = 0;
std::size_t edges = 0;
std::size_t previousPlace = 0;
DWORD watchedThread = 0;
std::vector<std::uint64_t> values(kValues, 0);
std::size_t nextValue = 0;

std::size_t mixed(std::size_t place) {
  return static_cast<std::size_t>((place * 0x9E3779B97F4A7C15ULL) >> 48);
}

void pass(std::size_t place) {
  const std::size_t edge = (mixed(place) ^ previousPlace) % kEdges;
  previousPlace = mixed(place) >> 1;
  if (passes[edge] == 0 && touchedCount < touched.size()) {
    touched[touchedCount++] = static_cast<std::uint32_t>(edge);
  }
  if (passes[edge] != 0xFF) ++passes[edge];
}

void compare(std::uint64_t left, std::uint64_t right) {
  if (left == right || GetCurrentThreadId() != watchedThread) return;
  values[nextValue++ % kValues] = left;
  values[nextValue++ % kValues] = right;
}

}  // namespace

void beginRun() {
  touchedCount = 0;
  previousPlace = 0;
  watchedThread = GetCurrentThreadId();
}

bool endRun() {
  watchedThread = 0;
  bool isNew = false;
  for (std::size_t i = 0; i < touchedCount; ++i) {
    const std::size_t edge = touched[i];
    const auto bucket = static_cast<std::uint8_t>(1U << (std::bit_width(passes[edge]) - 1));
    passes[edge] = 0;
    if ((seen[edge] & bucket) != 0) continue;
    if (seen[edge] == 0) ++edges;
    seen[edge] = static_cast<std::uint8_t>(seen[edge] | bucket);
    isNew = true;
  }
  return isNew;
}

std::size_t edgesReached() {
  return edges;
}

std::span<const std::uint32_t> edgesOfLastRun() {
  return std::span(touched).first(touchedCount);
}

const std::vector<std::uint64_t>& comparedValues() {
  return values;
}

}  // namespace orva_accelerator::fuzz

// What the compiler calls. Not declared anywhere.
extern "C" {

void __sanitizer_cov_trace_pc();
void __sanitizer_cov_trace_pc() {
  using namespace orva_accelerator::fuzz;
  if (GetCurrentThreadId() != watchedThread) return;
  pass(reinterpret_cast<std::size_t>(__builtin_return_address(0)));
}

#define ORVA_TRACE_COMPARISON(name, type)         \
  void name(type left, type right);               \
  void name(type left, type right) {              \
    orva_accelerator::fuzz::compare(left, right); \
  }
ORVA_TRACE_COMPARISON(__sanitizer_cov_trace_cmp1, std::uint8_t)
ORVA_TRACE_COMPARISON(__sanitizer_cov_trace_cmp2, std::uint16_t)
ORVA_TRACE_COMPARISON(__sanitizer_cov_trace_cmp4, std::uint32_t)
ORVA_TRACE_COMPARISON(__sanitizer_cov_trace_cmp8, std::uint64_t)
ORVA_TRACE_COMPARISON(__sanitizer_cov_trace_const_cmp1, std::uint8_t)
ORVA_TRACE_COMPARISON(__sanitizer_cov_trace_const_cmp2, std::uint16_t)
ORVA_TRACE_COMPARISON(__sanitizer_cov_trace_const_cmp4, std::uint32_t)
ORVA_TRACE_COMPARISON(__sanitizer_cov_trace_const_cmp8, std::uint64_t)
#undef ORVA_TRACE_COMPARISON

void __sanitizer_cov_trace_cmpf(float left, float right);
void __sanitizer_cov_trace_cmpf(float, float) {}
void __sanitizer_cov_trace_cmpd(double left, double right);
void __sanitizer_cov_trace_cmpd(double, double) {}

// cases[0] is their number, cases[1] their width, then they follow.
void __sanitizer_cov_trace_switch(std::uint64_t value, std::uint64_t* cases);
void __sanitizer_cov_trace_switch(std::uint64_t value, std::uint64_t* cases) {
  for (std::uint64_t i = 0; i < cases[0]; ++i) {
    orva_accelerator::fuzz::compare(value, cases[2 + i]);
  }
}

}  // extern "C"
