// The service commands where there is no service; with one, see tests/system.
#include <gtest/gtest.h>

#include "tests/tools/orvactl_process.h"

namespace orva_accelerator::test {
namespace {

constexpr char kNobody[] = "--service-name=OrvaTestNobody";

TEST(OrvactlService, IsThreeWhenNothingIsInstalled) {
  for (const std::vector<std::string>& words :
       std::vector<std::vector<std::string>>{{"start"},
                                             {"stop"},
                                             {"restart"},
                                             {"status"},
                                             {"wait"},
                                             {"wait", "running"},
                                             {"wait", "ended"}}) {
    std::vector<std::string> arguments{kNobody, "service"};
    arguments.insert(arguments.end(), words.begin(), words.end());
    const auto result = runOrvactl(arguments);
    EXPECT_EQ(result.exitCode, 3u) << words.front();
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err.find("not installed"), std::string::npos) << result.err;
    EXPECT_NE(result.err.find("(Win32 error 1060)"), std::string::npos) << result.err;
  }
}

TEST(OrvactlService, TellsErrorsInJson) {
  const auto result = runOrvactl({kNobody, "service", "stop", "--json"});
  const auto error = nlohmann::json::parse(result.err).at("error");
  EXPECT_EQ(error.at("kind"), "not-installed");
  EXPECT_EQ(error.at("win32Code"), 1060);
  EXPECT_EQ(error.at("step"), "stop the service");
}

TEST(OrvactlService, IsTwoForWrongWords) {
  for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
           {"service"}, {"service", "dance"}, {"service", "wait", "dancing"}}) {
    EXPECT_EQ(runOrvactl(arguments).exitCode, 2u);
  }
}

}  // namespace
}  // namespace orva_accelerator::test
