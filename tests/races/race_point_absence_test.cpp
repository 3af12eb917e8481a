// What is shipped has no race points: none of their names is in it. Part of two programs: of the
// one with race points, and of one that looks at what is shipped.

#include <gtest/gtest.h>
#include <windows.h>

#include <cstdio>
#include <string>

#include "tests/support/child_process.h"

namespace orva_accelerator::test {
namespace {

std::string bytesOf(const std::wstring& path) {
  std::string bytes;
  std::FILE* const file = _wfopen(path.c_str(), L"rb");
  if (file == nullptr) return bytes;
  char part[4096];
  while (const std::size_t size = std::fread(part, 1, sizeof part, file)) bytes.append(part, size);
  (void)std::fclose(file);  // Only read.
  return bytes;
}

// In two halves, so that this file does not put it into the program itself.
std::string racePointName() {
  return std::string("race: ") + "registration";
}

#ifdef ORVA_RACE_POINTS
TEST(RacePoints, AreInThisProgram) {
  EXPECT_NE(bytesOf(testFolder() + L"\\race_tests.exe").find(racePointName()), std::string::npos);
}
#else
TEST(RacePoints, AreNotInWhatIsShipped) {
  const std::string service = bytesOf(shippedFile(L"OrvaAcceleratorService.exe"));
  ASSERT_FALSE(service.empty());
  EXPECT_EQ(service.find(racePointName()), std::string::npos);
}
#endif

}  // namespace
}  // namespace orva_accelerator::test
