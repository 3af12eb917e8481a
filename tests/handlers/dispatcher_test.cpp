// Every message type, and every number that is none, from the dispatcher to the library and back.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "ipc/message_handler.h"
#include "ipc/monotonic_clock.h"
#include "ipc/pipe_server.h"
#include "ipc/wire/messages.h"
#include "tests/handlers/dispatched_request.h"
#include "tests/handlers/payload_with_margin.h"
#include "tests/support/golden_vectors.h"
#include "tests/support/initialised_kernel.h"
#include "tests/support/pipe_server_inspector.h"

namespace orva_accelerator::ipc {
namespace {

using test::Answer;
using test::Bytes;
using test::dispatch;
using test::goldenVector;
using test::GoldenVector;
using test::PayloadWithMargin;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

struct Type {
  std::uint32_t number;
  const char* answer;     // A vector of responses.json, when the library refuses queries.
  std::size_t fixedPart;  // Of the request.
  std::vector<std::size_t> lengthFields;  // Offsets of the text lengths in it.
};

const std::vector<Type> kTypes = {
    {0x100, "sdk_init_initialised", 12, {8}},
    {0x101, "user_login", 4, {0, 2}},
    {0x102, "sdk_release", 0, {}},
    {0x200, "sdk_is_initialised_yes", 0, {}},
    {0x500, "start_accel_accepted", 20, {8, 16}},
    {0x501, "start_accel_ex_accepted", 24, {8, 16}},
    {0x502, "stop_accel", 0, {}},
    {0x503, "query_accel_owner_idle", 0, {}},
    {0x600, "get_accel_data_failed", 0, {}},
    {0x601, "get_game_last_accel_info_failed", 4, {}},
    {0x602, "get_game_accel_info_failed", 4, {}},
    {0x603, "get_test_speed_data_failed", 16, {8}},
    {0x604, "get_console_data_failed", 0, {}},
    {0x605, "get_game_used_node_list_none", 4, {}},
    {0x700, "client_leaving_last", 0, {}},
    {0xFFFF, "heartbeat", 0, {}},
};

std::set<std::uint32_t> knownTypes() {
  std::set<std::uint32_t> numbers;
  for (const Type& type : kTypes) numbers.insert(type.number);
  return numbers;
}

class Dispatcher : public testing::Test {
 protected:
  // Each request meets an initialised library, and a server that nothing has happened to.
  Answer answerTo(std::uint32_t type, std::span<const std::uint8_t> payload = {},
                  std::uint8_t margin = 0, std::optional<std::uint32_t> announced = std::nullopt) {
    kernel.initialise();
    kernel.clearCalls();
    PipeServer server;
    return dispatch(server, type, 7, payload, margin, announced);
  }
  void expectUnknown(std::uint32_t type, std::span<const std::uint8_t> payload = {}) {
    SCOPED_TRACE(type);
    test::ImportHook<decltype(OutputDebugStringA)> debug("kernel32.dll", "OutputDebugStringA");
    PipeServer server;
    const Answer answer = dispatch(server, type, 7, payload);
    EXPECT_EQ(debug.callCount(), 0U);
    EXPECT_TRUE(answer.isNull);
    EXPECT_THAT(answer.bytes, IsEmpty());
    EXPECT_THAT(kernel.calls(), IsEmpty());
    EXPECT_NE(PipeServerInspector(server).lastActivityMs(), 0);
  }

  test::InitialisedKernel kernel;
};

TEST_F(Dispatcher, AnswersEveryTypeWhenItsPayloadIsAbsent) {
  for (const Type& type : kTypes) {
    SCOPED_TRACE(type.answer);
    EXPECT_TRUE(
        isPayload(goldenVector("responses.json", type.answer), answerTo(type.number).bytes));
  }
}

TEST_F(Dispatcher, AnswersEveryTypeWhenItsPayloadIsShort) {
  for (const Type& type : kTypes) {
    SCOPED_TRACE(type.answer);
    for (std::size_t length = 0; length < type.fixedPart; ++length) {
      const Bytes zeros(length, 0);
      EXPECT_TRUE(isPayload(goldenVector("responses.json", type.answer),
                            answerTo(type.number, zeros).bytes))
          << length << " bytes";
    }
  }
}

TEST_F(Dispatcher, AnswersEveryTypeWhenItsPayloadIsLong) {
  for (const Type& type : kTypes) {
    SCOPED_TRACE(type.answer);
    for (const std::size_t excess : {1U, 100U, 100'000U}) {
      Bytes payload(type.fixedPart, 0);
      payload.resize(type.fixedPart + excess, 0xFF);
      EXPECT_TRUE(isPayload(goldenVector("responses.json", type.answer),
                            answerTo(type.number, payload).bytes))
          << excess << " bytes too many";
    }
  }
}

TEST_F(Dispatcher, StaysInsideTheMarginWhenEveryLengthFieldLies) {
  for (const Type& type : kTypes) {
    SCOPED_TRACE(type.answer);
    Bytes payload(type.fixedPart, 0);
    for (const std::size_t field : type.lengthFields) {
      payload[field] = 0xFF;
      payload[field + 1] = 0xFF;
    }
    // Semicolons, so that a node list is one of blank pieces.
    EXPECT_TRUE(isPayload(goldenVector("responses.json", type.answer),
                          answerTo(type.number, payload, ';').bytes));
  }
}

TEST_F(Dispatcher, StaysInsideTheMarginWhenAnAbsentPayloadIsAllOnes) {
  for (const Type& type : kTypes) {
    if (type.number == MsgStartAccel || type.number == MsgStartAccelEx) continue;  // See below.
    SCOPED_TRACE(type.answer);
    EXPECT_TRUE(isPayload(goldenVector("responses.json", type.answer),
                          answerTo(type.number, {}, 0xFF).bytes));
  }
}

TEST_F(Dispatcher, LetsNoOneCatchANodeListThatIsNone) {
  EXPECT_THROW((void)answerTo(MsgStartAccel, {}, 0xFF), std::invalid_argument);
  EXPECT_THAT(kernel.calls(), IsEmpty());
  EXPECT_THROW((void)answerTo(MsgStartAccelEx, {}, 0xFF), std::invalid_argument);
  EXPECT_THAT(kernel.calls(), ElementsAre("Kernel_StopAccel()"));
}

TEST_F(Dispatcher, NeverLooksAtTheAnnouncedPayloadLength) {
  const GoldenVector& login = goldenVector("requests.json", "user_login");
  for (const std::uint32_t announced : {0U, 1U, 3U, 0x80000000U, 0xFFFFFFFFU}) {
    SCOPED_TRACE(announced);
    EXPECT_EQ(answerTo(login.type, login.payload(), 0, announced).bytes, (Bytes{1, 0, 0, 0}));
    EXPECT_THAT(kernel.calls(),
                ElementsAre("Kernel_UserLoginFromAccount(\"player@orva\", \"s3cret;=\")"));
  }
}

std::string times(int count, const std::string& piece) {
  std::string all;
  for (int i = 0; i < count; ++i) all += piece;
  return all;
}

// In the long texts of the golden vectors.
const std::string kLongText = times(255, "\xE6\xB8\xB8");
const std::string kLongNodes = times(84, "11;") + "11";

// What the library is asked for each request of the golden vectors.
const std::map<std::string, std::vector<std::string>> kCalls = {
    {"sdk_init", {}},  // Is initialised already.
    {"sdk_init_chinese_name", {}},
    {"sdk_init_empty_name", {}},
    {"sdk_init_long_name", {}},
    {"user_login", {"Kernel_UserLoginFromAccount(\"player@orva\", \"s3cret;=\")"}},
    {"user_login_chinese_account",
     {"Kernel_UserLoginFromAccount(\"\xE7\x8E\xA9\xE5\xAE\xB6\xE4\xB8\x80\xE5\x8F\xB7\", "
      "\"\xE5\xAF\x86\xE7\xA0\x81"
      "123\")"}},
    {"user_login_empty_texts", {"Kernel_UserLoginFromAccount(\"\", \"\")"}},
    {"user_login_long_texts",
     {"Kernel_UserLoginFromAccount(\"" + times(255, "a") + "\", \"" + times(255, "\xE5\xAF\x86") +
      "\")"}},
    {"sdk_release", {}},
    {"sdk_is_initialised", {}},
    {"start_accel_auto", {"Kernel_StartAccel(1001, 2, \"asia-1\", 1, \"\", 5)"}},
    {"start_accel_chinese_text",
     {"Kernel_StartAccel(1001, 2, \"\xE4\xBA\x9A\xE6\x9C\x8D\", 0, \"11;12;-3\", 5)"}},
    {"start_accel_empty_texts", {"Kernel_StartAccel(4294967295, 0, \"\", 1, \"\", 0)"}},
    {"start_accel_long_texts",
     {"Kernel_StartAccel(1001, 2, \"" + kLongText + "\", 0, \"" + kLongNodes + "\", 5)"}},
    {"start_accel_ex_auto",
     {"Kernel_StopAccel()", "Kernel_StartAccelEx(1001, 2, \"asia-1\", 1, \"\", 5, 77)"}},
    {"start_accel_ex_chinese_text",
     {"Kernel_StopAccel()",
      "Kernel_StartAccelEx(1002, 3, "
      "\"\xE6\xAC\xA7\xE6\x9C\x8D\xC2\xB7\xE6\xB3\x95\xE5\x85\xB0\xE5\x85\x8B"
      "\xE7\xA6\x8F\", 0, \"21;22\", 6, 4294967295)"}},
    {"start_accel_ex_empty_texts",
     {"Kernel_StopAccel()", "Kernel_StartAccelEx(1, 2, \"\", 1, \"\", 3, 4)"}},
    {"start_accel_ex_long_texts",
     {"Kernel_StopAccel()",
      "Kernel_StartAccelEx(1001, 2, \"" + kLongText + "\", 0, \"" + kLongNodes + "\", 5, 77)"}},
    {"stop_accel", {"Kernel_StopAccel()"}},
    {"query_accel_owner", {}},
    {"get_accel_data", {"Kernel_GetAccelData()"}},
    {"get_game_last_accel_info", {"Kernel_GetGameLastAccelInfo(1001, 256, 256)"}},
    {"get_game_accel_info", {"Kernel_GetGameLastAccelInfo(1001, 256, 256)"}},
    {"get_test_speed_data", {"Kernel_GetTestSpeedData_V2(1001, 2, \"asia-1\", 1, null, 0)"}},
    {"get_test_speed_data_chinese_key",
     {"Kernel_GetTestSpeedData_V2(1002, 3, \"\xE4\xB8\x8A\xE6\xB5\xB7\xE7\x94\xB5\xE4\xBF\xA1\", "
      "4294967295, "
      "null, 0)"}},
    {"get_test_speed_data_empty_key", {"Kernel_GetTestSpeedData_V2(1, 2, \"\", 3, null, 0)"}},
    {"get_test_speed_data_long_key",
     {"Kernel_GetTestSpeedData_V2(1001, 2, \"" + times(255, "k") + "\", 1, null, 0)"}},
    {"get_console_data", {"Kernel_GetConsoleData()"}},
    {"get_game_used_node_list", {"Kernel_GetGameUsedNodeDataList(1001, null, 0)"}},
    {"client_leaving", {}},
    {"heartbeat", {}},
    {"heartbeat_reserved_words_set", {}},
    {"heartbeat_client_id_zero", {}},
    {"unknown_type_zero", {}},
    {"unknown_type_high_bits", {}},
};

TEST_F(Dispatcher, AsksTheLibraryWhatTheRequestSays) {
  std::set<std::uint32_t> seen;
  for (const GoldenVector& request : test::goldenVectors("requests.json")) {
    const auto expected = kCalls.find(request.name);
    ASSERT_NE(expected, kCalls.end()) << "no calls are given for " << request.name;
    SCOPED_TRACE(request.name);
    // Nothing but zeros behind an exact payload, and then rubbish: it makes no difference.
    for (const std::uint8_t margin : Bytes{0x00, 0xFF}) {
      const Answer answer = answerTo(request.type, request.payload(), margin);
      EXPECT_THAT(kernel.calls(), ElementsAreArray(expected->second));
      if (!knownTypes().contains(request.type)) {
        EXPECT_TRUE(answer.isNull);
        continue;
      }
      for (const Type& type : kTypes) {
        if (type.number != request.type) continue;
        EXPECT_TRUE(isPayload(goldenVector("responses.json", type.answer), answer.bytes));
      }
    }
    seen.insert(request.type);
  }
  for (const Type& type : kTypes) EXPECT_TRUE(seen.contains(type.number)) << type.answer;
}

TEST_F(Dispatcher, PassesTheLongestTextsOfAStartOn) {
  const std::string text(65'535, 'a');
  const std::string nodes = times(32'767, "1;") + "1";
  Bytes payload(sizeof(StartAccelRequest), 0);
  for (const std::size_t length : {8U, 16U}) payload[length] = payload[length + 1] = 0xFF;
  payload.insert(payload.end(), text.begin(), text.end());
  payload.insert(payload.end(), nodes.begin(), nodes.end());
  EXPECT_EQ(answerTo(MsgStartAccel, payload).bytes, Bytes{1});
  EXPECT_THAT(kernel.calls(),
              ElementsAre("Kernel_StartAccel(0, 0, \"" + text + "\", 0, \"" + nodes + "\", 0)"));
}

TEST_F(Dispatcher, RefreshesTheLastActivityAtEveryRequest) {
  std::vector<std::uint32_t> types = {0, 259, 0x10600, 0xFFFFFFFF};
  for (const Type& type : kTypes) types.push_back(type.number);
  for (const std::uint32_t type : types) {
    SCOPED_TRACE(type);
    PipeServer server;
    EXPECT_EQ(PipeServerInspector(server).lastActivityMs(), 0);
    const std::int64_t before = monotonicMs();
    (void)dispatch(server, type, 7);
    const std::int64_t after = monotonicMs();
    EXPECT_GE(PipeServerInspector(server).lastActivityMs(), before);
    EXPECT_LE(PipeServerInspector(server).lastActivityMs(), after);
  }
}

TEST_F(Dispatcher, StampsTheActivityBeforeTheOperation) {
  const std::int64_t before = monotonicMs();
  PipeServer server;
  std::int64_t stamped = 0;
  kernel.Kernel_UserLoginFromAccount = [&](auto...) {
    stamped = PipeServerInspector(server).lastActivityMs();
    return sdk::KernelBool{1};
  };
  (void)dispatch(server, MsgUserLogin, 7);
  EXPECT_GE(stamped, before);
}

TEST_F(Dispatcher, AnswersNothingAtTheBordersOfTheUnknownRanges) {
  for (const std::uint32_t type :
       {0U, 1U, 255U, 259U, 511U, 513U, 1279U, 1284U, 1535U, 1542U, 1791U, 1793U, 65534U, 65536U,
        65537U, 0x1000U, 0x1003U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
    expectUnknown(type);
    const Bytes payload(64, 0xFF);
    expectUnknown(type, payload);
  }
}

TEST_F(Dispatcher, MatchesAllBitsOfATypeAndNotJustTheLowOnes) {
  expectUnknown(0x10600);
  for (const Type& type : kTypes) {
    expectUnknown(type.number | 0x10000U);
    expectUnknown(type.number | 0x80000000U);
    expectUnknown(type.number << 16U);
  }
}

TEST_F(Dispatcher, KnowsSixteenTypesAmongAllLowNumbers) {
  const std::set<std::uint32_t> known = knownTypes();
  PipeServer server;
  const PayloadWithMargin payload({});
  for (std::uint32_t type = 0; type <= 0x1'0000; ++type) {
    if (known.contains(type)) continue;
    const MessageHeader header = {kRequestMagic, 0, type, 0, 0, 7};
    std::uint8_t before = 0;
    void* response = &before;
    std::uint32_t responseLength = 4711;
    DispatchRequest(server, header, payload.get(), response, responseLength);
    ASSERT_EQ(response, nullptr) << type;
    ASSERT_EQ(responseLength, 0U) << type;
  }
  EXPECT_THAT(kernel.calls(), IsEmpty());
}

TEST_F(Dispatcher, IsWhatAStartedServerCalls) {
  PipeServer server;
  ASSERT_FALSE(PipeServerInspector(server).messageHandler());
  auto* const started = new PipeServer;  // Never destroyed: that would end the process.
  const std::wstring name =
      L"\\\\.\\pipe\\OrvaDispatcherTest_" + std::to_wstring(GetCurrentProcessId());
  ASSERT_TRUE(started->start(name + L"_request", name + L"_push"));
  currentPipeServer = &server;  // As if that one had been started last.
  started->ownership.settle(4, 7);
  const PayloadWithMargin payload({});
  const MessageHeader header = {kRequestMagic, 0, MsgQueryAccelOwner, 0, 0, 7};
  void* response = nullptr;
  std::uint32_t responseLength = 0;
  PipeServerInspector(*started).messageHandler()(header, payload.get(), response, responseLength);
  currentPipeServer = started;
  const std::unique_ptr<std::uint8_t[]> owned(static_cast<std::uint8_t*>(response));
  EXPECT_EQ(Bytes(owned.get(), owned.get() + responseLength), (Bytes{1, 1}));
}

}  // namespace
}  // namespace orva_accelerator::ipc
