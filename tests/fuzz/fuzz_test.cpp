// A short run of each fuzzer, and the proof that it finds what is there to be found.

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/fuzz/dictionary.h"
#include "tests/support/child_process.h"

namespace orva_accelerator::test {
namespace {

constexpr DWORD kCrashed = 77;
constexpr std::chrono::minutes kLimit{4};

std::wstring program(const std::wstring& target) {
  return testFolder() + L"\\fuzz_" + target + L".exe";
}

std::wstring crashFile(const std::wstring& target) {
  return testFolder() + L"\\crash-" + target + L".bin";
}

// About once in two thousand starts on a busy machine, Wine ends before it has begun the program,
// which then has said nothing.
ChildResult runFuzzer(const std::wstring& target, const std::vector<std::wstring>& arguments) {
  ChildResult result;
  for (int attempt = 0; attempt < 3 && result.output.empty(); ++attempt) {
    result = runChild(program(target), arguments, kLimit);
  }
  return result;
}

std::wstring inputFolder() {
  const std::string folder = ORVA_FUZZ_INPUTS;
  return {folder.begin(), folder.end()};
}
std::wstring corpusFolder(const std::wstring& target) {
  return inputFolder() + L"/corpus/" + target;
}
std::wstring dictionaryFile(const std::wstring& target) {
  return inputFolder() + L"/dictionaries/" + target + L".dict";
}

class Fuzzed : public testing::TestWithParam<const wchar_t*> {};

TEST_P(Fuzzed, SurvivesAShortRun) {
  const std::wstring target = GetParam();
  const ChildResult result = runFuzzer(
      target, {L"--seconds", std::to_wstring(ORVA_FUZZ_SECONDS), L"--crash", crashFile(target),
               L"--seeds", corpusFolder(target), L"--dictionary", dictionaryFile(target)});
  EXPECT_EQ(result.exitCode, 0U) << result.output << result.errors;
  EXPECT_NE(result.output.find(" runs in "), std::string::npos) << result.output;
  std::printf("%s", result.output.c_str());
}

INSTANTIATE_TEST_SUITE_P(Target, Fuzzed, testing::Values(L"dispatch", L"client", L"text"),
                         [](const auto& target) {
                           const std::wstring name = target.param;
                           return std::string(name.begin(), name.end());
                         });

TEST_P(Fuzzed, HasFewAndSmallInputsToBeginWith) {
  std::size_t files = 0;
  std::uintmax_t bytes = 0;
  for (const auto& entry : std::filesystem::directory_iterator(corpusFolder(GetParam()))) {
    ++files;
    bytes += entry.file_size();
  }
  EXPECT_GT(files, 0U);
  EXPECT_LE(files, 200U);
  EXPECT_LE(bytes, 150'000U);
}

// Whoever gives a folder or a dictionary wants it to be used.
TEST_P(Fuzzed, EndsWhenItsInputsAreNotThere) {
  const std::wstring target = GetParam();
  for (const std::vector<std::wstring>& arguments :
       {std::vector<std::wstring>{L"--seeds", corpusFolder(L"none")},
        std::vector<std::wstring>{L"--dictionary", dictionaryFile(L"none")}}) {
    const ChildResult result = runFuzzer(target, arguments);
    EXPECT_EQ(result.exitCode, 2U) << result.output << result.errors;
  }
}

// The bug lies behind a magic number of four bytes, which chance alone would take days to find. The
// run ends when it is found.
TEST(Fuzzer, FindsAPlantedBugAndWritesAnInputThatRepeatsIt) {
  const std::wstring file = crashFile(L"planted");
  const ChildResult found = runFuzzer(L"planted", {L"--seconds", L"120", L"--crash", file});
  EXPECT_EQ(found.exitCode, kCrashed) << found.output << found.errors;
  const ChildResult repeated = runFuzzer(L"planted", {L"--crash", file, file});
  EXPECT_EQ(repeated.exitCode, kCrashed) << repeated.output << repeated.errors;
  EXPECT_NE(repeated.output.find("exception 0xC0000005 after 1 runs"), std::string::npos)
      << repeated.output;
}

TEST(FuzzDictionary, TakesWordsWithAndWithoutNames) {
  const auto words =
      fuzz::parseDictionary("# comment\n\nname=\"PLXR\"\n  \"a\\x00\\xfF\"\r\n\"\\\"\\\\=\"");
  EXPECT_EQ(words, (std::vector<std::string>{"PLXR", std::string("a\0\xFF", 3), "\"\\="}));
}

TEST(FuzzDictionary, RefusesWhatIsNoWord) {
  for (const char* line : {"word", "\"", "\"\"", "\"a", "a\"", "\"a\"b", "name\"a\"", "\"a\"b\"",
                           "\"\\\"", "\"\\x1\"", "\"\\xg0\"", "\"\\n\""}) {
    EXPECT_THROW((void)fuzz::parseDictionary(line), std::runtime_error) << line;
  }
}

}  // namespace
}  // namespace orva_accelerator::test
