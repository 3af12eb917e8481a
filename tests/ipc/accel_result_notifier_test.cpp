// Results of a start: what is sent, and who owns the acceleration afterwards.

#include <new>

#include "tests/ipc/notifiers_fixture.h"

namespace orva_accelerator::ipc {
namespace {

using test::PushConnection;
using test::RunningServer;

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
  const AccelResultNotifier madeBefore(kClient, NotifyStartAccel);
  RunningServer second;
  PushConnection clientOfSecond(second, kClient);
  madeBefore(resultWithState(4));
  EXPECT_EQ(get(second->ownership), (Owner{true, kClient, false, 0}));
  EXPECT_TRUE(clientOfSecond.next());
  EXPECT_EQ(get(server->ownership), kNobody);
  broadcastMarker(server);
  EXPECT_TRUE(markerIsNext(client));
}

TEST_F(Notifiers, AccelResultSettlesTheOwnershipOfAServerThatHasStopped) {
  set(server->ownership, kTwoOwners);
  server->stop();
  AccelResultNotifier(kClient, NotifyStartAccel)(resultWithState(5));
  EXPECT_EQ(get(server->ownership), kNobody);
}

TEST(NotifiersWithoutServer, AccelResultIsDropped) {
  PipeServer* const startedByOthers = currentPipeServer.exchange(nullptr);
  EXPECT_NO_THROW(AccelResultNotifier(kClient, NotifyStartAccel)(resultWithState(4)));
  // A server that has never been started is not one to report to.
  PipeServer unstarted;
  AccelResultNotifier(kClient, NotifyStartAccel)(resultWithState(4));
  EXPECT_EQ(get(unstarted.ownership), kNobody);
  EXPECT_EQ(currentPipeServer, nullptr);
  currentPipeServer = startedByOthers;
}

TEST_F(Notifiers, AccelResultThatCannotBeBuiltIsLostButSettlesTheOwnership) {
  sdk::SAccelResult result = resultWithState(4);
  result.text1 = L"text";
  {
    ConversionHook conversion("kernel32.dll", "WideCharToMultiByte");
    conversion.replace(
        [](UINT, DWORD, LPCWCH, int, LPSTR, int, LPCCH, LPBOOL) -> int { throw std::bad_alloc(); });
    EXPECT_NO_THROW(AccelResultNotifier(kClient, NotifyStartAccel)(result));
  }
  EXPECT_EQ(get(server->ownership), (Owner{true, kClient, false, 0}));
  broadcastMarker(server);
  EXPECT_TRUE(markerIsNext(client));
}

TEST_F(Notifiers, AccelResultWithATextThatCannotBeConvertedIsLostButSettlesTheOwnership) {
  sdk::SAccelResult first = resultWithState(4);
  first.text1 = L"text";
  sdk::SAccelResult second = resultWithState(4);
  second.text2 = L"text";
  for (const sdk::SAccelResult& result : {first, second}) {
    server->ownership.clear();
    {
      ConversionHook conversion("kernel32.dll", "WideCharToMultiByte");
      conversion.failAllCalls(ERROR_NOT_ENOUGH_MEMORY, 0);
      EXPECT_NO_THROW(AccelResultNotifier(kClient, NotifyStartAccel)(result));
      EXPECT_GT(conversion.callCount(), 0U);
    }
    EXPECT_EQ(get(server->ownership), (Owner{true, kClient, false, 0}));
    broadcastMarker(server);
    EXPECT_TRUE(markerIsNext(client));
  }
}

}  // namespace
}  // namespace orva_accelerator::ipc
