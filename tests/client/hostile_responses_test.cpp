// Answers from something that is not the service, or is broken.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <optional>
#include <string>

#include "client/responses.h"
#include "tests/support/golden_vectors.h"

namespace orva_accelerator::client {
namespace {

using test::GoldenVector;

// The error of decoding, or nothing.
using Decode = std::function<std::optional<ErrorKind>(ByteView)>;

std::optional<ErrorKind> errorOf(const auto& result) {
  if (result) return std::nullopt;
  return result.error().kind;
}

template <typename Record>
std::optional<ErrorKind> answer(ByteView payload) {
  return errorOf(decodeAnswer<Record>(payload));
}

template <typename Wire>
std::optional<ErrorKind> record(ByteView payload) {
  return errorOf(decodeRecord<Wire>(payload));
}

const std::map<std::string, Decode>& decoders() {
  static const std::map<std::string, Decode> all{
      {"MsgSdkInit", record<ipc::SdkInitResponse>},
      {"MsgUserLogin", record<ipc::UserLoginResponse>},
      {"MsgSdkRelease", record<ipc::SdkReleaseResponse>},
      {"MsgSdkIsInitialised", record<ipc::SdkIsInitialisedResponse>},
      {"MsgStartAccel", record<ipc::StartAccelResponse>},
      {"MsgStartAccelEx", record<ipc::StartAccelResponse>},
      {"MsgStopAccel", record<ipc::StopAccelResponse>},
      {"MsgHeartbeat", record<ipc::HeartbeatResponse>},
      {"MsgQueryAccelOwner", answer<orva_owner>},
      {"MsgClientLeaving", answer<orva_leave_outcome>},
      {"MsgGetAccelData", answer<orva_accel_data>},
      {"MsgGetConsoleData", answer<orva_console_data>},
      {"MsgGetGameLastAccelInfo", answer<orva_last_accel_info>},
      {"MsgGetTestSpeedData", answer<orva_speed_summary>},
      {"MsgGetGameAccelInfo", answer<orva_game_info>},
      {"MsgGetGameUsedNodeList", answer<orva_used_nodes>},
  };
  return all;
}

void forEveryVector(const std::function<void(const Decode&, Bytes)>& check) {
  int seen = 0;
  for (const GoldenVector& vector : test::goldenVectors("responses.json")) {
    if (vector.payload().empty()) continue;
    SCOPED_TRACE(vector.name);
    ++seen;
    check(decoders().at(vector.message), Bytes(vector.payload().begin(), vector.payload().end()));
  }
  EXPECT_GT(seen, 30);
}

TEST(HostileResponse, IsAProtocolErrorWhenItEndsEarly) {
  forEveryVector([](const Decode& decode, const Bytes& payload) {
    for (std::size_t length = 1; length < payload.size(); ++length) {
      // A copy of its own, so that a read beyond its end is one beyond its memory.
      const Bytes shorter(payload.begin(), payload.begin() + static_cast<std::ptrdiff_t>(length));
      ASSERT_EQ(decode(shorter), ErrorKind::Protocol) << length << " bytes";
    }
  });
}

TEST(HostileResponse, IsAProtocolErrorWhenItGoesOn) {
  forEveryVector([](const Decode& decode, Bytes payload) {
    payload.push_back(0);
    EXPECT_EQ(decode(payload), ErrorKind::Protocol);
    payload.resize(payload.size() + 70000);
    EXPECT_EQ(decode(payload), ErrorKind::Protocol);
  });
}

TEST(HostileResponse, IsRefusedWhenItIsEmpty) {
  for (const auto& [message, decode] : decoders()) {
    EXPECT_EQ(decode({}), ErrorKind::Refused) << message;
  }
}

TEST(HostileResponse, NeverReadsBeyondItsEndWhateverItsBytes) {
  // Every byte of every answer once as 0xFF: each length field lies in turn.
  forEveryVector([](const Decode& decode, const Bytes& payload) {
    for (std::size_t i = 0; i < payload.size(); ++i) {
      Bytes lying = payload;
      lying[i] = 0xFF;
      const auto error = decode(lying);
      ASSERT_TRUE(!error || *error == ErrorKind::Protocol) << "byte " << i;
    }
  });
}

TEST(HostileResponse, IsAProtocolErrorWhenATextLengthLies) {
  Bytes payload(48, 0);
  payload[44] = 1;  // One byte of text that is not there.
  EXPECT_EQ(answer<orva_accel_data>(payload), ErrorKind::Protocol);
  payload[44] = payload[45] = 0xFF;
  EXPECT_EQ(answer<orva_accel_data>(payload), ErrorKind::Protocol);
}

TEST(HostileResponse, CostsNothingWhenItAnnouncesFourBillionNodes) {
  const Bytes payload{1, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF};
  EXPECT_EQ(answer<orva_used_nodes>(payload), ErrorKind::Protocol);
}

TEST(HostileResponse, IsAProtocolErrorWhenNodesAreLeftOver) {
  const auto& vector = test::goldenVector("responses.json", "get_game_used_node_list_two");
  Bytes payload(vector.payload().begin(), vector.payload().end());
  payload[4] = 1;
  EXPECT_EQ(answer<orva_used_nodes>(payload), ErrorKind::Protocol);
}

TEST(HostileResponse, KeepsTextsThatAreNotUtf8AsTheyCame) {
  Bytes payload(48, 0);
  payload[44] = 2;
  payload.push_back(0xC3);
  payload.push_back(0x00);
  EXPECT_EQ(std::string_view(decodeAnswer<orva_accel_data>(payload).value()->text3),
            std::string_view("\xC3\0", 2));
}

}  // namespace
}  // namespace orva_accelerator::client
