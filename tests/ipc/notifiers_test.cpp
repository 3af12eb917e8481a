// What all notifiers have in common.

#include <vector>

#include "tests/ipc/notifiers_fixture.h"

namespace orva_accelerator::ipc {
namespace {

using test::GoldenVector;
using test::isMessage;
using test::PushConnection;
using test::RunningServer;

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

TEST_F(Notifiers, SettleTheOwnershipWhenThereIsNobodyToTell) {
  server->UnregisterPushClient(kClient);
  AccelResultNotifier(kClient, NotifyStartAccel)(resultWithState(4));
  EXPECT_EQ(get(server->ownership), (Owner{true, kClient, false, 0}));
  StopResultNotifier(server.get(), kClient)(0, L"");
  EXPECT_EQ(get(server->ownership), kNobody);
}

TEST_F(Notifiers, SettleTheOwnershipBeforeAnybodyIsTold) {
  std::vector<Owner> told;
  test::ImportHook<decltype(WriteFile)> writes("kernel32.dll", "WriteFile");
  writes.observe([&](HANDLE, LPCVOID, DWORD length, LPDWORD, LPOVERLAPPED) {
    if (length == sizeof(PushFrameHeader)) told.push_back(get(server->ownership));
  });
  AccelResultNotifier(kClient, NotifyStartAccel)(resultWithState(4));
  StopResultNotifier(server.get(), kClient)(0, L"");
  EXPECT_EQ(told, (std::vector<Owner>{{true, kClient, false, 0}, kNobody}));
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

}  // namespace
}  // namespace orva_accelerator::ipc
