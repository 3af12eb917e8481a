#include "ipc/notifiers.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <functional>
#include <new>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "ipc/notification_payloads.h"
#include "tests/support/import_patch.h"
#include "tests/support/running_server.h"

namespace orva_accelerator::ipc {
namespace {

using test::Bytes;
using test::goldenVector;
using test::GoldenVector;
using test::isMessage;
using test::Notification;
using test::PushConnection;
using test::RunningServer;

constexpr std::uint32_t kClient = 7;

std::wstring wide(const std::string& utf8) {
  if (utf8.empty()) return {};
  std::wstring text(utf8.size(), L'\0');
  const int units =
      MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, utf8.data(), static_cast<int>(utf8.size()),
                          text.data(), static_cast<int>(text.size()));
  EXPECT_GT(units, 0);
  text.resize(static_cast<std::size_t>(units));
  return text;
}

std::string textOf(const Notification& notification, std::size_t from) {
  return std::string(notification.payload.begin() + static_cast<std::ptrdiff_t>(from),
                     notification.payload.end());
}

// Its fields may lie at any address: compare copies, EXPECT_EQ would bind references to them.
template <typename Fixed>
Fixed fixedPartOf(const Notification& notification) {
  Fixed fixed = {};
  EXPECT_GE(notification.payload.size(), sizeof(fixed));
  if (notification.payload.size() >= sizeof(fixed)) {
    std::memcpy(&fixed, notification.payload.data(), sizeof(fixed));
  }
  return fixed;
}

sdk::SAccelResult resultWithState(std::uint32_t state) {
  sdk::SAccelResult result;
  result.state = state;
  return result;
}

sdk::SAccelResult resultOf(const GoldenVector& vector) {
  sdk::SAccelResult result;
  result.value1 = vector.number<std::uint32_t>("value1");
  result.value2 = vector.number<std::uint32_t>("value2");
  result.text1 = wide(vector.text("text1"));
  result.value3 = vector.number<std::uint32_t>("value3");
  result.value4 = vector.number<std::uint32_t>("value4");
  result.state = vector.number<std::uint32_t>("state");
  result.value5 = vector.number<std::uint32_t>("value5");
  result.text2 = wide(vector.text("text2"));
  return result;
}

// Calls the notifier as the library would, with what the vector says it means.
void notify(PipeServer& server, const GoldenVector& vector) {
  const auto clientId = vector.number<std::uint32_t>("clientId");
  switch (vector.type) {
    case NotifyStartAccel:
    case NotifyStartAccelEx:
      AccelResultNotifier(clientId, static_cast<NotificationType>(vector.type))(resultOf(vector));
      break;
    case NotifyStopAccel:
      StopResultNotifier(server, clientId)(vector.number<int>("code"), wide(vector.text("text")));
      break;
    case NotifyUserLogin:
      LoginResultNotifier(server, clientId)(vector.number<int>("code"), wide(vector.text("text")));
      break;
    default:
      FAIL() << "a vector of an unknown type";
  }
}

struct Owner {
  bool accelerating;
  std::uint32_t acceleratingClientId;
  bool startPending;
  std::uint32_t startPendingClientId;
  bool operator==(const Owner&) const = default;
};

void set(AccelerationOwnership& ownership, const Owner& owner) {
  ownership.accelerating = owner.accelerating;
  ownership.acceleratingClientId = owner.acceleratingClientId;
  ownership.startPending = owner.startPending;
  ownership.startPendingClientId = owner.startPendingClientId;
}

Owner get(const AccelerationOwnership& ownership) {
  return {ownership.accelerating, ownership.acceleratingClientId, ownership.startPending,
          ownership.startPendingClientId};
}

constexpr Owner kNobody = {false, 0, false, 0};
constexpr Owner kTwoOwners = {true, 8, true, 9};

class Notifiers : public testing::Test {
 protected:
  // For a notification that the pipe does not hold: somebody has to read while it is written.
  std::optional<Notification> nextWhile(const std::function<void()>& notifying) {
    std::thread library(notifying);
    auto notification = client.next();
    library.join();
    return notification;
  }

  RunningServer server;
  PushConnection client{server, kClient};
};

TEST_F(Notifiers, SendExactlyTheBytesOfTheProtocol) {
  for (const GoldenVector& vector : test::goldenVectors("notifications.json")) {
    SCOPED_TRACE(vector.name);
    notify(server.get(), vector);
    const auto notification = client.next();
    ASSERT_TRUE(notification);
    EXPECT_TRUE(isMessage(vector, notification->bytes));
  }
}

TEST_F(Notifiers, ReachEveryClientWithTheIdOfTheOneThatAsked) {
  PushConnection other(server, 1);
  AccelResultNotifier(kClient, NotifyStartAccel)(resultWithState(3));
  StopResultNotifier(server.get(), kClient)(0, L"");
  LoginResultNotifier(server.get(), 99)(0, L"");  // Its client is not registered.
  for (PushConnection* connection : {&client, &other}) {
    for (const std::uint32_t askedBy : {kClient, kClient, std::uint32_t{99}}) {
      const auto notification = connection->next();
      ASSERT_TRUE(notification);
      EXPECT_EQ(notification->clientId, askedBy);
    }
  }
}

// --- Acceleration results -----------------------------------------------------------------------

TEST_F(Notifiers, AccelResultWithoutTextsHasAPayloadOf32Bytes) {
  AccelResultNotifier(kClient, NotifyStartAccel)(resultWithState(3));
  const auto notification = client.next();
  ASSERT_TRUE(notification);
  EXPECT_EQ(notification->payloadLength, 32U);
}

TEST_F(Notifiers, AccelResultSendsStateAheadOfValue4) {
  sdk::SAccelResult result;
  result.value4 = 0x44444444;
  result.state = 0x55555555;
  AccelResultNotifier(kClient, NotifyStartAccel)(result);
  const auto notification = client.next();
  ASSERT_TRUE(notification);
  const Bytes middle(notification->payload.begin() + 16, notification->payload.begin() + 24);
  EXPECT_EQ(middle, (Bytes{0x55, 0x55, 0x55, 0x55, 0x44, 0x44, 0x44, 0x44}));
}

TEST_F(Notifiers, PaddingGoesOutAsZeros) {
  sdk::SAccelResult result;
  result.value1 = result.value2 = result.value3 = result.value4 = result.value5 = 0xFFFFFFFF;
  result.state = 0xFFFFFFFF;
  result.text1 = std::wstring(0x101, L'a');
  result.text2 = std::wstring(0x101, L'b');
  AccelResultNotifier(kClient, NotifyStartAccel)(result);
  StopResultNotifier(server.get(), kClient)(-1, std::wstring(0x101, L'c'));
  LoginResultNotifier(server.get(), kClient)(-1, std::wstring(0x101, L'd'));
  const auto accel = client.next();
  const auto stop = client.next();
  const auto login = client.next();
  ASSERT_TRUE(accel && stop && login);
  const auto accelPart = fixedPartOf<AccelResultPayload>(*accel);
  EXPECT_EQ(accelPart.padding1, 0);
  EXPECT_EQ(accelPart.padding2, 0);
  EXPECT_EQ(fixedPartOf<StopResultPayload>(*stop).padding, 0);
  EXPECT_EQ(fixedPartOf<LoginResultPayload>(*login).padding, 0);
}

TEST_F(Notifiers, AccelResultTextsOf65535BytesFillTheirLengthFields) {
  sdk::SAccelResult result;
  result.text1 = std::wstring(65'535, L'a');
  result.text2 = std::wstring(65'535, L'b');
  const auto notification =
      nextWhile([&] { AccelResultNotifier(kClient, NotifyStartAccel)(result); });
  ASSERT_TRUE(notification);
  EXPECT_EQ(notification->payloadLength, 32U + 65'535U + 65'535U);
  const auto fixed = fixedPartOf<AccelResultPayload>(*notification);
  EXPECT_EQ(std::uint16_t{fixed.text1Length}, 65'535);
  EXPECT_EQ(std::uint16_t{fixed.text2Length}, 65'535);
}

TEST_F(Notifiers, AccelResultTextsOf65536BytesAndMoreGoOutWholeWithWrappedLengths) {
  sdk::SAccelResult result;
  result.text1 = std::wstring(65'536, L'a');
  result.text2 = std::wstring(70'000, L'\u52A0');  // Three bytes each.
  const auto notification =
      nextWhile([&] { AccelResultNotifier(kClient, NotifyStartAccel)(result); });
  ASSERT_TRUE(notification);
  EXPECT_EQ(notification->payloadLength, 32U + 65'536U + 210'000U);
  const auto fixed = fixedPartOf<AccelResultPayload>(*notification);
  EXPECT_EQ(std::uint16_t{fixed.text1Length}, 0);
  EXPECT_EQ(std::uint16_t{fixed.text2Length}, 210'000 % 65'536);
  const std::string texts = textOf(*notification, 32);
  EXPECT_EQ(texts.substr(0, 65'536), std::string(65'536, 'a'));
  EXPECT_EQ(texts.substr(65'536, 3), "\xE5\x8A\xA0");
  EXPECT_EQ(texts.substr(texts.size() - 3), "\xE5\x8A\xA0");
}

TEST_F(Notifiers, AccelResultWithState4MakesTheCapturedClientTheOwner) {
  set(server->ownership, {false, 0, true, 9});
  AccelResultNotifier(kClient, NotifyStartAccel)(resultWithState(4));
  EXPECT_EQ(get(server->ownership), (Owner{true, kClient, false, 0}));
}

TEST_F(Notifiers, AccelResultWithStates5To7ClearsAllFourFields) {
  for (const std::uint32_t state : {5U, 6U, 7U}) {
    SCOPED_TRACE(state);
    set(server->ownership, kTwoOwners);
    AccelResultNotifier(kClient, NotifyStartAccelEx)(resultWithState(state));
    EXPECT_EQ(get(server->ownership), kNobody);
    EXPECT_TRUE(client.next());
  }
}

TEST_F(Notifiers, AccelResultWithAnyOtherStateIsSentAndChangesNoField) {
  for (const std::uint32_t state : {0U, 1U, 2U, 3U, 8U, 9U, 0x104U, 0xFFFFFFFFU}) {
    SCOPED_TRACE(state);
    set(server->ownership, kTwoOwners);
    AccelResultNotifier(kClient, NotifyStartAccel)(resultWithState(state));
    EXPECT_EQ(get(server->ownership), kTwoOwners);
    const auto notification = client.next();
    ASSERT_TRUE(notification);
    EXPECT_EQ(fixedPartOf<AccelResultPayload>(*notification).state, state);
  }
}

TEST_F(Notifiers, AccelResultReachesTheServerThatWasStartedLast) {
  RunningServer second;
  PushConnection clientOfSecond(second, kClient);
  AccelResultNotifier(kClient, NotifyStartAccel)(resultWithState(4));
  EXPECT_EQ(get(second->ownership), (Owner{true, kClient, false, 0}));
  EXPECT_TRUE(clientOfSecond.next());
  EXPECT_EQ(get(server->ownership), kNobody);
  broadcastMarker(server);
  EXPECT_TRUE(markerIsNext(client));
}

TEST_F(Notifiers, StopAndLoginResultsReachTheServerThatTheyWereMadeFor) {
  const StopResultNotifier stop(server.get(), kClient);
  const LoginResultNotifier login(server.get(), kClient);
  set(server->ownership, kTwoOwners);
  RunningServer second;
  set(second->ownership, kTwoOwners);
  stop(0, L"");
  login(0, L"");
  EXPECT_EQ(get(server->ownership), kNobody);
  EXPECT_EQ(get(second->ownership), kTwoOwners);
  EXPECT_TRUE(client.next());
  EXPECT_TRUE(client.next());
}

TEST(NotifiersWithoutServer, AccelResultIsDropped) {
  ASSERT_EQ(currentPipeServer, nullptr) << "this test needs a process of its own";
  EXPECT_NO_THROW(AccelResultNotifier(kClient, NotifyStartAccel)(resultWithState(4)));
  // A server that has never been started is not one to report to.
  PipeServer unstarted;
  AccelResultNotifier(kClient, NotifyStartAccel)(resultWithState(4));
  EXPECT_EQ(get(unstarted.ownership), kNobody);
}

// Makes the next conversion to UTF-8 fail as it does when memory is short.
class FailingConversion {
 public:
  FailingConversion() {
    hook_.replace(
        [](UINT, DWORD, LPCWCH, int, LPSTR, int, LPCCH, LPBOOL) -> int { throw std::bad_alloc(); });
  }

 private:
  test::ImportHook<decltype(WideCharToMultiByte)> hook_{"kernel32.dll", "WideCharToMultiByte"};
};

TEST_F(Notifiers, AccelResultThatCannotBeBuiltIsLostButSettlesTheOwnership) {
  sdk::SAccelResult result = resultWithState(4);
  result.text1 = L"text";
  {
    const FailingConversion failing;
    EXPECT_NO_THROW(AccelResultNotifier(kClient, NotifyStartAccel)(result));
  }
  EXPECT_EQ(get(server->ownership), (Owner{true, kClient, false, 0}));
  broadcastMarker(server);
  EXPECT_TRUE(markerIsNext(client));
}

// --- Stop results -------------------------------------------------------------------------------

TEST_F(Notifiers, StopResultWithCode0CarriesItsOwnTextAndPayloadLength45) {
  StopResultNotifier(server.get(), kClient)(0, L"not this");
  const auto notification = client.next();
  ASSERT_TRUE(notification);
  EXPECT_EQ(notification->payloadLength, 45U);
  EXPECT_TRUE(
      isMessage(goldenVector("notifications.json", "stop_accel_succeeded"), notification->bytes));
}

TEST_F(Notifiers, StopResultClearsTheOwnershipWhateverItsCode) {
  for (const int code : {0, 1, -1, 4, 10'061, INT_MIN}) {
    SCOPED_TRACE(code);
    set(server->ownership, kTwoOwners);
    StopResultNotifier(server.get(), kClient)(code, L"");
    EXPECT_EQ(get(server->ownership), kNobody);
    const auto notification = client.next();
    ASSERT_TRUE(notification);
    const auto fixed = fixedPartOf<StopResultPayload>(*notification);
    EXPECT_EQ(std::uint32_t{fixed.success}, code == 0 ? 1U : 0U);
    EXPECT_EQ(std::int32_t{fixed.code}, code);
  }
}

struct Clip {
  const char* what;
  std::wstring text;
  std::size_t bytes;
  const char* end;
};

std::wstring repeated(std::size_t times, const wchar_t* text) {
  std::wstring all;
  for (std::size_t i = 0; i < times; ++i) all += text;
  return all;
}

std::vector<Clip> clips() {
  const std::wstring a65533(65'533, L'a');
  const std::wstring a65534(65'534, L'a');
  return {
      {"65,535 bytes fit", std::wstring(65'535, L'a'), 65'535, "aaa"},
      {"one byte too many", std::wstring(65'536, L'a'), 65'535, "aaa"},
      {"a character of three bytes that just fits", repeated(21'845, L"\u52A0"), 65'535,
       "\xE5\x8A\xA0"},
      {"the next one does not", repeated(21'846, L"\u52A0"), 65'535, "\xE5\x8A\xA0"},
      {"one byte of it would fit", a65534 + L"\u52A0", 65'534, "aaa"},
      {"two bytes of it would fit", a65533 + L"\u52A0", 65'533, "aaa"},
      {"one byte of two would fit", a65534 + L"\u00E9", 65'534, "aaa"},
      {"three bytes of four would fit", std::wstring(65'532, L'a') + L"\U0001F3AE", 65'532, "aaa"},
      {"a character of four bytes that just fits",
       std::wstring(65'531, L'a') + L"\U0001F3AE" + L"b", 65'535, "\xF0\x9F\x8E\xAE"},
      {"far too long", std::wstring(200'000, L'a'), 65'535, "aaa"},
  };
}

TEST_F(Notifiers, StopResultClipsItsTextAtACharacterBoundary) {
  for (const Clip& clip : clips()) {
    SCOPED_TRACE(clip.what);
    const auto notification =
        nextWhile([&] { StopResultNotifier(server.get(), kClient)(5, clip.text); });
    ASSERT_TRUE(notification);
    EXPECT_EQ(notification->payloadLength, 12 + clip.bytes);
    EXPECT_EQ(fixedPartOf<StopResultPayload>(*notification).textLength, clip.bytes);
    EXPECT_TRUE(textOf(*notification, 12).ends_with(clip.end));
  }
}

// --- Login results ------------------------------------------------------------------------------

TEST_F(Notifiers, LoginResultClipsItsTextAtACharacterBoundary) {
  for (const Clip& clip : clips()) {
    SCOPED_TRACE(clip.what);
    const auto notification =
        nextWhile([&] { LoginResultNotifier(server.get(), kClient)(5, clip.text); });
    ASSERT_TRUE(notification);
    EXPECT_EQ(notification->payloadLength, 8 + clip.bytes);
    EXPECT_EQ(fixedPartOf<LoginResultPayload>(*notification).textLength, clip.bytes);
    EXPECT_TRUE(textOf(*notification, 8).ends_with(clip.end));
  }
}

TEST_F(Notifiers, LoginResultHasAPayloadOf8BytesAndItsText) {
  LoginResultNotifier(server.get(), kClient)(0, L"");
  LoginResultNotifier(server.get(), kClient)(-5, L"abc");
  const auto empty = client.next();
  const auto three = client.next();
  ASSERT_TRUE(empty && three);
  EXPECT_EQ(empty->payloadLength, 8U);
  EXPECT_EQ(three->payloadLength, 11U);
}

TEST_F(Notifiers, LoginResultLeavesTheOwnershipAlone) {
  set(server->ownership, kTwoOwners);
  LoginResultNotifier(server.get(), kClient)(0, L"");
  LoginResultNotifier(server.get(), kClient)(4, L"");
  EXPECT_EQ(get(server->ownership), kTwoOwners);
}

// --- Stops that nobody asked for ----------------------------------------------------------------

TEST_F(Notifiers, IgnoredStopResultSendsNothingAndLeavesTheOwnershipAlone) {
  set(server->ownership, kTwoOwners);
  IgnoreStopResult()(0, L"text");
  IgnoreStopResult()(-1, L"text");
  EXPECT_EQ(get(server->ownership), kTwoOwners);
  broadcastMarker(server);
  EXPECT_TRUE(markerIsNext(client));
}

}  // namespace
}  // namespace orva_accelerator::ipc
