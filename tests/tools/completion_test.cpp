#include "tools/completion.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tools/command_line.h"

namespace orva_accelerator::test {
namespace {

class Completion : public testing::Test {
 protected:
  bool offers(const std::string& path, const std::string& word) const {
    const auto found = words_.find(path);
    if (found == words_.end()) return false;
    return std::find(found->second.begin(), found->second.end(), word) != found->second.end();
  }

  // Every command and every shown option of the real tree.
  void expectAll(const CLI::App& command, const std::string& path) const {
    for (const CLI::Option* option : command.get_options()) {
      for (const std::string& name : option->get_lnames()) {
        EXPECT_EQ(offers(path, "--" + name), !option->get_group().empty()) << path << " " << name;
        if (option->get_group().empty()) continue;
        EXPECT_NE(bash_.find("--" + name), std::string::npos) << name;
        EXPECT_NE(powerShell_.find("'--" + name + "'"), std::string::npos) << name;
      }
    }
    for (const CLI::App* sub : command.get_subcommands({})) {
      const std::string& name = sub->get_name();
      const std::string below = path.empty() ? name : path + " " + name;
      EXPECT_TRUE(offers(path, name)) << below;
      EXPECT_NE(bash_.find("'" + below + "') words="), std::string::npos) << below;
      EXPECT_NE(powerShell_.find("'" + below + "' = @("), std::string::npos) << below;
      expectAll(*sub, below);
    }
  }

  tools::Context context_;
  std::unique_ptr<CLI::App> app_ = tools::makeParser(context_);
  std::map<std::string, std::vector<std::string>> words_ = tools::completionWords(*app_);
  std::string bash_ = tools::bashCompletion(*app_);
  std::string powerShell_ = tools::powerShellCompletion(*app_);
};

TEST_F(Completion, OffersEveryCommandAndOption) {
  ASSERT_GT(app_->get_subcommands({}).size(), 20u);
  expectAll(*app_, "");
}

TEST_F(Completion, OffersGlobalOptionsBehindACommand) {
  EXPECT_TRUE(offers("service stop", "--timeout"));
  EXPECT_TRUE(offers("data", "--every"));
  EXPECT_TRUE(offers("data", "--json"));
  EXPECT_FALSE(offers("", "--every"));
}

TEST_F(Completion, OffersTheWordsThatAnArgumentAllows) {
  EXPECT_TRUE(offers("service wait", "ended"));
  EXPECT_TRUE(offers("completion", "powershell"));
}

}  // namespace
}  // namespace orva_accelerator::test
