// What any client gets from the installed service, byte for byte.
#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/system/byte_client.h"

namespace orva_accelerator::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

constexpr char kOne[] = "00 00 00 00 04 00 00 00 01 00 00 00";

TEST_F(ServiceSession, GivesByteExactAnswersFromInitToRelease) {
  simulator().writeScenario(
      R"({"functions": {"Kernel_UserLoginFromAccount": {"completions": [{"afterMs": 300}]}}})");
  ByteClient client;
  EXPECT_EQ(client.ask(kIsInitialised, 9), "00 00 00 00 01 00 00 00 00");
  EXPECT_EQ(client.ask(kInit, 12), kOne);
  EXPECT_EQ(client.ask(kIsInitialised, 9), "00 00 00 00 01 00 00 00 01");

  ByteListener listener("07 00 00 00");
  EXPECT_EQ(client.ask(kLogin, 12), kOne);
  const Bytes notification = listener.pipe().readBytes(28);
  ASSERT_THAT(notification, SizeIs(28));
  const std::span<const std::uint8_t> bytes(notification);
  EXPECT_EQ(hexFromBytes(bytes.first(16)), "50 4B 58 52 07 00 00 00 03 10 00 00 08 00 00 00");
  // Then the time, which is anything.
  EXPECT_EQ(hexFromBytes(bytes.subspan(20)), "00 00 00 00 00 00 00 00");

  EXPECT_EQ(client.ask(kRelease, 12), kOne);
  EXPECT_EQ(client.ask(kIsInitialised, 9), "00 00 00 00 01 00 00 00 00");
  EXPECT_EQ(client.ask(kInit, 12), kOne);
  EXPECT_TRUE(isAliveAndAnswers());
}

TEST_F(ServiceSession, AnswersHeartbeatsOwnerQueriesAndUnknownTypes) {
  ByteClient client;
  EXPECT_EQ(client.ask(kHeartbeat, 12).substr(0, 23), "00 00 00 00 04 00 00 00");
  EXPECT_EQ(
      client.ask("50 4C 58 52 00 00 00 00 03 05 00 00 00 00 00 00 00 00 00 00 07 00 00 00", 10),
      "00 00 00 00 02 00 00 00 00 00");
  const char* const kNothing = "00 00 00 00 00 00 00 00";
  for (const std::uint32_t type : {0U, 259U, 1284U, 65534U, 0x10600U, 0xFFFFFFFFU}) {
    client.send(header(type, 0));
    EXPECT_EQ(client.receive(8), kNothing) << type;
  }
  // Nobody looks at the two reserved words, nor has an unknown type's payload any effect.
  EXPECT_EQ(client.ask("50 4C 58 52 FF FF FF FF 00 00 00 00 03 00 00 00 EF BE AD DE 07 00 00 00 "
                       "01 02 03",
                       8),
            kNothing);
  // No byte has come that was not asked for.
  EXPECT_EQ(client.ask(kIsInitialised, 9), "00 00 00 00 01 00 00 00 00");
}

TEST_F(ServiceSession, GivesTheLibraryWhatTheClientSent) {
  ByteClient client;
  EXPECT_EQ(client.ask(kInit, 12), kOne);
  EXPECT_EQ(client.ask(kLogin, 12), kOne);
  const std::vector<std::string> calls = simulator().logLinesStarting("call ");
  ASSERT_THAT(calls, SizeIs(3));
  EXPECT_THAT(calls[0], HasSubstr("Kernel_Init("));
  EXPECT_THAT(calls[0], HasSubstr("OrvaAcceleratorService.exe\""));
  EXPECT_THAT(calls[1], HasSubstr("=3, "));
  EXPECT_THAT(calls[1], HasSubstr("=20250, "));
  EXPECT_THAT(calls[1], HasSubstr("=\"official\""));
  EXPECT_THAT(calls[2],
              HasSubstr("context=null, account=\"player@orva\", credential=\"s3cret;=\""));
}

TEST_F(ServiceSession, TakesHeaderAndPayloadAsOneMessageOrAsTwo) {
  const Bytes whole = bytesFromHex(kInit);
  ByteClient client;
  client.send(Bytes(whole.begin(), whole.begin() + 24));
  client.send(Bytes(whole.begin() + 24, whole.end()));
  EXPECT_EQ(client.receive(12), kOne);
  client.send(whole);
  EXPECT_EQ(client.receive(12), kOne);
}

TEST_F(ServiceSession, AnswersMinusOneUntilTheLibraryIsThere) {
  ASSERT_TRUE(std::filesystem::remove(simulator().library()));
  const char* const kMinusOne = "00 00 00 00 04 00 00 00 FF FF FF FF";
  ByteClient client;
  EXPECT_EQ(client.ask(kInit, 12), kMinusOne);
  EXPECT_EQ(client.ask(kInit, 12), kMinusOne);
  EXPECT_EQ(client.ask(kIsInitialised, 9), "00 00 00 00 01 00 00 00 00");
  EXPECT_EQ(client.ask(kLogin, 12), kOne);
  simulator().copyLibrary();
  EXPECT_EQ(client.ask(kInit, 12), kOne);
  EXPECT_EQ(client.ask(kIsInitialised, 9), "00 00 00 00 01 00 00 00 01");
}

TEST_F(ServiceSession, ServesTheCommandLineClientAsASeparateProcess) {
  const auto orvactl = [](std::vector<std::wstring> arguments) {
    const ChildResult result = runChild(shippedFile(L"orvactl.exe"), arguments);
    EXPECT_EQ(result.exitCode, 0U)
        << testing::PrintToString(arguments) << result.output << result.errors;
    return result.output;
  };
  (void)orvactl({L"init", L"--channel-id", L"3", L"--channel-name", L"official"});
  EXPECT_THAT(orvactl({L"--json", L"status"}), HasSubstr("true"));
  (void)orvactl({L"--client-id", L"7", L"login", L"player", L"secret", L"--wait"});
  (void)orvactl({L"heartbeat"});
  (void)orvactl({L"release"});
  EXPECT_EQ(simulator().logLinesStarting("call ").size(), 3U);
  EXPECT_TRUE(isAliveAndAnswers());
}

}  // namespace
}  // namespace orva_accelerator::test
