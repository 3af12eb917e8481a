// What a newcomer reads first.
#include <gtest/gtest.h>

#include "tools/command_line.h"

namespace orva_accelerator::test {
namespace {

TEST(Help, HasAGroupAndAnExampleForEachCommand) {
  tools::Context context;
  context.forDevelopers = true;
  const auto app = tools::makeParser(context);
  for (const CLI::App* command : app->get_subcommands({})) {
    EXPECT_NE(command->get_group(), "Subcommands") << command->get_name();
    EXPECT_NE(command->get_footer().find("  orvactl-dev "), std::string::npos)
        << command->get_name();
    EXPECT_FALSE(command->get_description().empty()) << command->get_name();
  }
}

// Each example of each command, without running it.
TEST(Help, HasExamplesThatParse) {
  tools::Context listing;
  listing.forDevelopers = true;
  const auto listed = tools::makeParser(listing);
  for (const CLI::App* command : listed->get_subcommands({})) {
    std::istringstream lines(command->get_footer());
    for (std::string line; std::getline(lines, line);) {
      constexpr std::string_view kStart = "  orvactl-dev ";
      if (!line.starts_with(kStart)) continue;
      tools::Context context;
      context.forDevelopers = true;
      const auto app = tools::makeParser(context);
      EXPECT_NO_THROW(app->parse(line.substr(kStart.size()))) << line;
      EXPECT_TRUE(app->got_subcommand(command->get_name())) << line;
    }
  }
}

TEST(Help, OffersToSendAnythingToDevelopersAlone) {
  tools::Context context;
  const auto app = tools::makeParser(context);
  EXPECT_EQ(app->get_subcommands([](const CLI::App* command) {
                 return command->get_name() == "raw" || command->get_name() == "load";
               })
                .size(),
            0u);
  EXPECT_EQ(app->get_name(), "orvactl");
}

TEST(Help, ListsTheFirstStepsAndTheExitCodes) {
  tools::Context context;
  const std::string help = tools::makeParser(context)->help();
  EXPECT_NE(help.find("orvactl service start"), std::string::npos);
  EXPECT_NE(help.find("Exit codes: 0 done"), std::string::npos);
  EXPECT_EQ(help.find("--request-pipe"), std::string::npos) << "an option for tests is shown";
}

}  // namespace
}  // namespace orva_accelerator::test
