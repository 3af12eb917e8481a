// Questions and a live view, at a real console.
#include <gtest/gtest.h>

#include "tests/support/bounded_wait.h"
#include "tests/tools/at_a_console.h"
#include "tests/tools/orvactl_process.h"

namespace orva_accelerator::test {
namespace {

class OrvactlAtAConsole : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(console_) << GetLastError(); }

  void start(std::vector<std::string> arguments) {
    console_.startOrvactl(asClientOf(service_, std::move(arguments)));
  }
  bool echoes() const { return (console_.inputMode() & ENABLE_ECHO_INPUT) != 0; }
  bool takesEscapes() const {
    return (console_.outputMode() & ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
  }

  FakeService service_;
  AtAConsole console_;
};

TEST_F(OrvactlAtAConsole, AsksForACredentialWithoutEcho) {
  service_.answerWith("user_login");
  start({"login", "player"});
  ASSERT_TRUE(waitUntil([&] { return !echoes(); })) << "it does not ask";
  console_.type(L"\x5BC6\x7801\r");
  EXPECT_EQ(console_.orvactlsExitCode(), 0u);
  EXPECT_TRUE(echoes());
  ASSERT_EQ(service_.countOf(0x101), 1u);
  const Bytes request = service_.requests().front();
  EXPECT_EQ(hexFromBytes(std::span(request).last(12)), "70 6C 61 79 65 72 E5 AF 86 E7 A0 81");
}

TEST_F(OrvactlAtAConsole, PutsTheConsoleBackAtCtrlC) {
  start({"login", "player"});
  ASSERT_TRUE(waitUntil([&] { return !echoes(); })) << "it does not ask";
  console_.pressCtrlC();
  EXPECT_EQ(console_.orvactlsExitCode(), 130u);
  EXPECT_TRUE(echoes());
}

TEST_F(OrvactlAtAConsole, GivesAMadeUpAccountToAnUnknownLibraryAfterAYesOnly) {
  for (const wchar_t* no : {L"n\r", L"\r", L"yes\r"}) {
    start({"session"});
    console_.type(no);
    EXPECT_EQ(console_.orvactlsExitCode(), 2u);
  }
  EXPECT_TRUE(service_.requests().empty());
  service_.answerWith("heartbeat");
  service_.answerWith("sdk_init_not_loaded");
  service_.answerWith("client_leaving_last");
  start({"session"});
  console_.type(L"Y\r");
  EXPECT_EQ(console_.orvactlsExitCode(), 5u);
  EXPECT_EQ(service_.countOf(0x100), 1u);
}

TEST_F(OrvactlAtAConsole, PutsTheConsoleBackAfterALiveView) {
  service_.answerWith("get_accel_data");
  ASSERT_FALSE(takesEscapes());
  start({"data", "--every", "60s"});
  ASSERT_TRUE(waitUntil([&] { return takesEscapes(); }));
  console_.pressCtrlC();
  EXPECT_EQ(console_.orvactlsExitCode(), 0u);
  EXPECT_FALSE(takesEscapes());
}

}  // namespace
}  // namespace orva_accelerator::test
