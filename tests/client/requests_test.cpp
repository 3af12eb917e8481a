#include "client/requests.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <string>

#include "tests/support/golden_vectors.h"

namespace orva_accelerator::client {
namespace {

using test::GoldenVector;
using Encode = std::function<Result<Bytes>(const GoldenVector&)>;

// Every vector of this message: the payload and the whole frame.
void expectGolden(const std::string& message, const Encode& encode) {
  int seen = 0;
  for (const GoldenVector& vector : test::goldenVectors("requests.json")) {
    // The service ignores the reserved words; this library writes zeros.
    if (vector.message != message || vector.name == "heartbeat_reserved_words_set") continue;
    SCOPED_TRACE(vector.name);
    ++seen;
    const auto payload = encode(vector);
    ASSERT_TRUE(payload.ok());
    EXPECT_TRUE(test::isPayload(vector, payload.value()));
    const auto frame =
        encodeFrame(vector.type, vector.number<std::uint32_t>("clientId"), payload.value());
    ASSERT_TRUE(frame.ok());
    EXPECT_TRUE(test::isMessage(vector, frame.value()));
  }
  EXPECT_GT(seen, 0);
}

std::uint32_t word(const GoldenVector& vector, const char* field) {
  return vector.number<std::uint32_t>(field);
}

StartRequest startOf(const GoldenVector& vector) {
  return StartRequest{word(vector, "startArg1"), word(vector, "startArg2"),
                      word(vector, "startArg3"), vector.text("startText"),
                      vector.text("nodeSelection")};
}

TEST(RequestEncoding, InitIsTheGoldenBytes) {
  expectGolden("MsgSdkInit", [](const GoldenVector& vector) {
    return encodeInit(
        {word(vector, "channelId"), word(vector, "channelNumber"), vector.text("channelName")});
  });
}

TEST(RequestEncoding, LoginIsTheGoldenBytes) {
  expectGolden("MsgUserLogin", [](const GoldenVector& vector) {
    const std::string account = vector.text("account");
    const std::string credential = vector.text("credential");
    return encodeLogin({account, credential});
  });
}

TEST(RequestEncoding, StartIsTheGoldenBytes) {
  expectGolden("MsgStartAccel",
               [](const GoldenVector& vector) { return encodeStart(startOf(vector)); });
}

TEST(RequestEncoding, StartExIsTheGoldenBytes) {
  expectGolden("MsgStartAccelEx", [](const GoldenVector& vector) {
    return encodeStartEx({startOf(vector), word(vector, "startArg4")});
  });
}

TEST(RequestEncoding, SpeedIsTheGoldenBytes) {
  expectGolden("MsgGetTestSpeedData", [](const GoldenVector& vector) {
    return encodeSpeed({word(vector, "gameId"), word(vector, "areaId"), vector.text("serverKey"),
                        word(vector, "testOption")});
  });
}

TEST(RequestEncoding, GameQueriesAreTheGoldenBytes) {
  for (const char* message :
       {"MsgGetGameLastAccelInfo", "MsgGetGameAccelInfo", "MsgGetGameUsedNodeList"}) {
    expectGolden(message, [](const GoldenVector& vector) -> Result<Bytes> {
      return encodeGame(word(vector, "gameId"));
    });
  }
}

TEST(RequestEncoding, RequestsWithoutPayloadAreTheGoldenBytes) {
  for (const char* message :
       {"MsgSdkRelease", "MsgSdkIsInitialised", "MsgStopAccel", "MsgQueryAccelOwner",
        "MsgGetAccelData", "MsgGetConsoleData", "MsgClientLeaving", "MsgHeartbeat"}) {
    expectGolden(message, [](const GoldenVector&) -> Result<Bytes> { return Bytes(); });
  }
}

TEST(RequestEncoding, RegistrationIsTheGoldenBytes) {
  const auto& vector = test::goldenVector("headers.json", "registration");
  EXPECT_EQ(encodePushRegistration(word(vector, "clientId")), vector.bytes);
}

TEST(RequestEncoding, RefusesTextsThatTheLengthFieldCannotHold) {
  const std::string longest(65535, 'x');
  const std::string tooLong(65536, 'x');
  EXPECT_EQ(encodeInit({1, 0, longest}).value().size(), 12u + 65535);
  EXPECT_EQ(encodeInit({1, 0, tooLong}).error().kind, ErrorKind::Usage);
  EXPECT_EQ(encodeLogin({longest, longest}).value().size(), 4u + 2 * 65535);
  EXPECT_EQ(encodeLogin({tooLong, ""}).error().kind, ErrorKind::Usage);
  EXPECT_EQ(encodeLogin({"", tooLong}).error().kind, ErrorKind::Usage);
  EXPECT_EQ(encodeStart({0, 0, 0, tooLong, ""}).error().kind, ErrorKind::Usage);
  EXPECT_EQ(encodeStart({0, 0, 0, "", tooLong}).error().kind, ErrorKind::Usage);
  EXPECT_EQ(encodeStartEx({{0, 0, 0, tooLong, ""}, 0}).error().kind, ErrorKind::Usage);
  EXPECT_EQ(encodeSpeed({0, 0, tooLong, 0}).error().kind, ErrorKind::Usage);
}

TEST(RequestEncoding, TellsWhichTextIsTooLong) {
  const std::string tooLong(65536, 'x');
  const auto result = encodeLogin({"", tooLong});
  EXPECT_EQ(result.error().text,
            "its text 2 has 65536 bytes, more than the 65535 that a request can carry");
  EXPECT_EQ(result.error().win32Code, 0u);
}

}  // namespace
}  // namespace orva_accelerator::client
