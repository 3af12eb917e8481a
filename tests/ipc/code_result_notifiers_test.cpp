// Results that are a code and a text: of stops and of logins.

#include <climits>
#include <vector>

#include "tests/ipc/notifiers_fixture.h"

namespace orva_accelerator::ipc {
namespace {

using test::goldenVector;
using test::isMessage;

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

// A client waits for the code.
TEST_F(Notifiers, StopAndLoginResultsGoOutWithoutATextThatCannotBeConverted) {
  {
    ConversionHook conversion("kernel32.dll", "WideCharToMultiByte");
    conversion.failAllCalls(ERROR_NOT_ENOUGH_MEMORY, 0);
    EXPECT_NO_THROW(StopResultNotifier(server.get(), kClient)(5, L"text"));
    EXPECT_NO_THROW(LoginResultNotifier(server.get(), kClient)(6, L"text"));
  }
  const auto stop = client.next();
  const auto login = client.next();
  ASSERT_TRUE(stop && login);
  EXPECT_EQ(stop->payload, (test::Bytes{0, 0, 0, 0, 5, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(login->payload, (test::Bytes{6, 0, 0, 0, 0, 0, 0, 0}));
}

TEST_F(Notifiers, LoginResultLeavesTheOwnershipAlone) {
  set(server->ownership, kTwoOwners);
  LoginResultNotifier(server.get(), kClient)(0, L"");
  LoginResultNotifier(server.get(), kClient)(4, L"");
  EXPECT_EQ(get(server->ownership), kTwoOwners);
}

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
