// Initialisation, login and release, as clients ask for them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "ipc/pipe_server.h"
#include "ipc/wire/messages.h"
#include "sdk/accel_sdk.h"
#include "sdk/completions.h"
#include "sdk/kernel_function_table.h"
#include "tests/handlers/dispatched_request.h"
#include "tests/support/fake_kernel.h"
#include "tests/support/running_server.h"

namespace orva_accelerator::ipc {
namespace {

using test::answerTo;
using test::Bytes;
using test::goldenVector;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

const Bytes kOne = {1, 0, 0, 0};

Bytes answerToVector(const char* request) {
  return answerTo(goldenVector("requests.json", request));
}

// Nothing is initialised when a test begins.
class SdkHandlers : public testing::Test {
 protected:
  SdkHandlers() { reset(); }
  ~SdkHandlers() override { reset(); }

  static void reset() {
    sdk::AccelSdk::Instance().Release();
    sdk::kernelFunctions.clear();
    sdk::loginResultHandler.install({});
  }

  test::FakeKernel kernel;
};

TEST_F(SdkHandlers, InitialiseWithTheChannelOfThePayload) {
  EXPECT_EQ(answerToVector("sdk_init"), kOne);
  EXPECT_THAT(kernel.calls(), ElementsAre(StartsWith("Kernel_Init(\""),
                                          "Kernel_SetSdkChannelNumber(3, 20250, \"official\")"));
}

TEST_F(SdkHandlers, InitialiseWithAChineseChannelName) {
  EXPECT_EQ(answerToVector("sdk_init_chinese_name"), kOne);
  EXPECT_EQ(kernel.calls().at(1),
            "Kernel_SetSdkChannelNumber(1, 4294967295, "
            "\"\xE5\xAE\x98\xE6\x96\xB9\xE6\xB8\xA0\xE9\x81\x93\")");
}

TEST_F(SdkHandlers, InitialiseWithTheLongestChannelName) {
  Bytes payload = {1, 0, 0, 0, 2, 0, 0, 0, 0xFF, 0xFF, 0, 0};
  payload.insert(payload.end(), 65'535, 'n');
  EXPECT_EQ(answerTo(MsgSdkInit, payload), kOne);
  EXPECT_EQ(kernel.calls().at(1),
            "Kernel_SetSdkChannelNumber(1, 2, \"" + std::string(65'535, 'n') + "\")");
}

TEST_F(SdkHandlers, InitialiseWithAnEmptyNameAndBothNumbersWhenTheNameHasNoLength) {
  EXPECT_EQ(answerToVector("sdk_init_empty_name"), kOne);
  EXPECT_EQ(kernel.calls().at(1), "Kernel_SetSdkChannelNumber(9, 1, \"\")");
}

TEST_F(SdkHandlers, InitialiseWithZerosWhenThePayloadIsAbsent) {
  EXPECT_EQ(answerTo(MsgSdkInit), kOne);
  EXPECT_EQ(kernel.calls().at(1), "Kernel_SetSdkChannelNumber(0, 0, \"\")");
}

TEST_F(SdkHandlers, InitialiseWithTheLowHalfOfALengthThatIsWrittenWith32Bits) {
  EXPECT_EQ(
      answerTo(MsgSdkInit, Bytes{1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0xFF, 0xFF, 'a', 'b', 'c', 'd'}),
      kOne);
  EXPECT_EQ(kernel.calls().at(1), "Kernel_SetSdkChannelNumber(1, 2, \"abc\")");
}

TEST_F(SdkHandlers, InitialiseWithAReplacedCharacterWhereTheNameIsNoUtf8) {
  EXPECT_EQ(answerTo(MsgSdkInit, Bytes{1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0, 'a', 0xFF, 'b'}), kOne);
  EXPECT_EQ(kernel.calls().at(1),
            "Kernel_SetSdkChannelNumber(1, 2, \"a\xEF\xBF\xBD"
            "b\")");
}

TEST_F(SdkHandlers, InitialiseOnlyOnceWhateverLaterPayloadsSay) {
  EXPECT_EQ(answerToVector("sdk_init"), kOne);
  kernel.clearCalls();
  EXPECT_EQ(answerToVector("sdk_init_chinese_name"), kOne);
  EXPECT_EQ(answerTo(MsgSdkInit), kOne);
  EXPECT_EQ(answerTo(MsgSdkInit, {}, 0xFF), kOne);
  EXPECT_THAT(kernel.calls(), IsEmpty());
}

TEST_F(SdkHandlers, SayWhetherTheBindingIsInitialised) {
  EXPECT_EQ(answerToVector("sdk_is_initialised"), Bytes{0});
  EXPECT_EQ(answerToVector("sdk_init"), kOne);
  EXPECT_EQ(answerToVector("sdk_is_initialised"), Bytes{1});
  EXPECT_EQ(answerToVector("sdk_release"), kOne);
  EXPECT_EQ(answerToVector("sdk_is_initialised"), Bytes{0});
}

TEST_F(SdkHandlers, SayThatABindingIsNotInitialisedWhileItsChannelIsBeingSet) {
  kernel.Kernel_SetSdkChannelNumber = [](auto...) {
    EXPECT_EQ(answerTo(MsgSdkIsInitialised), Bytes{0});
    return sdk::KernelBool{1};
  };
  (void)answerTo(goldenVector("requests.json", "sdk_init"));
  EXPECT_EQ(answerTo(MsgSdkIsInitialised), Bytes{1});
}

TEST_F(SdkHandlers, InitialiseAgainAfterARelease) {
  EXPECT_EQ(answerToVector("sdk_init"), kOne);
  EXPECT_EQ(answerToVector("sdk_release"), kOne);
  kernel.clearCalls();
  EXPECT_EQ(answerToVector("sdk_init_empty_name"), kOne);
  EXPECT_THAT(kernel.calls(),
              ElementsAre(StartsWith("Kernel_Init(\""), "Kernel_SetSdkChannelNumber(9, 1, \"\")"));
}

TEST_F(SdkHandlers, ReleaseWhatIsNotInitialisedToo) {
  EXPECT_EQ(answerToVector("sdk_release"), kOne);
  EXPECT_EQ(answerTo(MsgSdkRelease, Bytes(100, 0xFF)), kOne);
  EXPECT_THAT(kernel.calls(), IsEmpty());
}

TEST_F(SdkHandlers, TakeALoginThoughTheLibraryWasNeverLoaded) {
  EXPECT_EQ(answerToVector("user_login"), kOne);
  EXPECT_THAT(kernel.calls(), IsEmpty());
  EXPECT_FALSE(sdk::loginResultHandler);
}

TEST_F(SdkHandlers, PassALoginOnAfterARelease) {
  EXPECT_EQ(answerToVector("sdk_init"), kOne);
  EXPECT_EQ(answerToVector("sdk_release"), kOne);
  kernel.clearCalls();
  EXPECT_EQ(answerToVector("user_login"), kOne);
  EXPECT_THAT(kernel.calls(),
              ElementsAre("Kernel_UserLoginFromAccount(\"player@orva\", \"s3cret;=\")"));
}

TEST_F(SdkHandlers, PassTwoEmptyTextsToTheLibraryWhenBothLengthsAreZero) {
  EXPECT_EQ(answerToVector("sdk_init"), kOne);
  kernel.clearCalls();
  EXPECT_EQ(answerToVector("user_login_empty_texts"), kOne);
  // What stands behind the lengths belongs to nobody.
  EXPECT_EQ(answerTo(MsgUserLogin, Bytes{0, 0, 0, 0, 'a', 'b'}), kOne);
  EXPECT_EQ(answerTo(MsgUserLogin), kOne);
  const char* const empty = "Kernel_UserLoginFromAccount(\"\", \"\")";
  EXPECT_THAT(kernel.calls(), ElementsAre(empty, empty, empty));
}

TEST_F(SdkHandlers, PassTheSecondTextFromRightBehindTheFirst) {
  EXPECT_EQ(answerToVector("sdk_init"), kOne);
  kernel.clearCalls();
  EXPECT_EQ(answerTo(MsgUserLogin, Bytes{0, 0, 2, 0, 'c', 'd'}), kOne);
  EXPECT_EQ(answerTo(MsgUserLogin, Bytes{2, 0, 0, 0, 'a', 'b', 'x'}), kOne);
  EXPECT_EQ(answerTo(MsgUserLogin, Bytes{3, 0, 1, 0, 0xE7, 0x8E, 0xA9, 'p'}), kOne);
  EXPECT_THAT(kernel.calls(), ElementsAre("Kernel_UserLoginFromAccount(\"\", \"cd\")",
                                          "Kernel_UserLoginFromAccount(\"ab\", \"\")",
                                          "Kernel_UserLoginFromAccount(\"\xE7\x8E\xA9\", \"p\")"));
}

TEST_F(SdkHandlers, PassTwoTextsOfTheLongestLength) {
  EXPECT_EQ(answerToVector("sdk_init"), kOne);
  kernel.clearCalls();
  Bytes payload = {0xFF, 0xFF, 0xFF, 0xFF};
  payload.insert(payload.end(), 65'535, 'a');
  payload.insert(payload.end(), 65'535, 'c');
  EXPECT_EQ(answerTo(MsgUserLogin, payload), kOne);
  EXPECT_THAT(kernel.calls(),
              ElementsAre("Kernel_UserLoginFromAccount(\"" + std::string(65'535, 'a') + "\", \"" +
                          std::string(65'535, 'c') + "\")"));
}

TEST_F(SdkHandlers, AnswerTheSameWhenTheLibraryRefusesALogin) {
  EXPECT_EQ(answerToVector("sdk_init"), kOne);
  kernel.Kernel_UserLoginFromAccount = [](auto...) { return sdk::KernelBool{0}; };
  EXPECT_EQ(answerToVector("user_login"), kOne);
  EXPECT_FALSE(sdk::loginResultHandler);
}

// A binding that has loaded a library keeps it, so this one must find it missing in a process that
// has not: in the other tests' process it says so and does not count.
TEST(SdkHandlersWithoutLibrary, AnswerMinusOneToEveryInit) {
  const auto report = [] {
    test::FakeKernel kernel;
    kernel.failLoading(ERROR_MOD_NOT_FOUND);
    for (int attempt = 0; attempt < 2; ++attempt) {
      if (!isPayload(goldenVector("responses.json", "sdk_init_not_loaded"),
                     answerToVector("sdk_init"))) {
        std::exit(1);
      }
    }
    if (answerToVector("sdk_is_initialised") != Bytes{0}) std::exit(2);
    if (answerToVector("user_login") != kOne) std::exit(3);
    if (!kernel.calls().empty() || kernel.loadedPaths().size() != 2) std::exit(4);
    std::exit(0);
  };
  EXPECT_EXIT(report(), testing::ExitedWithCode(0), "");
}

// With pipes: what the requesting client is told later.
class LoginNotification : public SdkHandlers {
 protected:
  const test::RunningServer server;
};

TEST_F(LoginNotification, CarriesTheCodeAnEmptyTextAndTheIdOfTheRequestingClient) {
  test::PushConnection listener(server, 7);
  test::RequestConnection client(server);
  EXPECT_EQ(client.askBytes(goldenVector("requests.json", "sdk_init").bytes), kOne);
  const test::RunningServer later;  // Has not been asked.
  EXPECT_EQ(client.askBytes(goldenVector("requests.json", "user_login").bytes), kOne);
  kernel.loginCompletion()(nullptr, 0, nullptr);
  const std::optional<test::Notification> notification = listener.next();
  ASSERT_TRUE(notification);
  EXPECT_EQ(notification->clientId, 7U);
  EXPECT_EQ(notification->type, 0x1003U);
  EXPECT_EQ(notification->payload, Bytes(notification->payload.size(), 0));
}

TEST_F(LoginNotification, IsSentThoughItsClientHasLeft) {
  test::PushConnection staying(server, 8);
  test::RequestConnection client(server);
  EXPECT_EQ(client.askBytes(goldenVector("requests.json", "sdk_init").bytes), kOne);
  EXPECT_EQ(client.askBytes(goldenVector("requests.json", "user_login").bytes), kOne);
  EXPECT_EQ(client.ask(7, MsgClientLeaving), (Bytes{0, 0, 0, 0, 1, 0, 0, 0}));
  kernel.loginCompletion()(nullptr, 0, nullptr);
  const std::optional<test::Notification> notification = staying.next();
  ASSERT_TRUE(notification);
  EXPECT_EQ(notification->clientId, 7U);
}

TEST_F(LoginNotification, IsNotSentForALoginThatTheLibraryRefused) {
  test::PushConnection listener(server, 7);
  test::RequestConnection client(server);
  EXPECT_EQ(client.askBytes(goldenVector("requests.json", "sdk_init").bytes), kOne);
  kernel.Kernel_UserLoginFromAccount = [](auto...) { return sdk::KernelBool{0}; };
  EXPECT_EQ(client.askBytes(goldenVector("requests.json", "user_login").bytes), kOne);
  kernel.loginCompletion()(nullptr, 0, nullptr);
  broadcastMarker(server);
  EXPECT_TRUE(markerIsNext(listener));
}

TEST_F(LoginNotification, IsNotSentWhenTheLibraryWasNeverLoaded) {
  test::PushConnection listener(server, 7);
  test::RequestConnection client(server);
  EXPECT_EQ(client.askBytes(goldenVector("requests.json", "user_login").bytes), kOne);
  broadcastMarker(server);
  EXPECT_TRUE(markerIsNext(listener));
}

}  // namespace
}  // namespace orva_accelerator::ipc
