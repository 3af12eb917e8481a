// The table of all requests: for each, the records of its two payloads and where its texts are.
//
// The dispatcher, the read margin, the client's requests and the tests take from here what they
// know of a message. docs/protocol.md describes each.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "ipc/wire/message_types.h"
#include "ipc/wire/requests.h"
#include "ipc/wire/responses.h"

namespace orva_accelerator::ipc {

// A message whose texts' lengths stand at `TextLengths` in the fixed part of its request. The texts
// follow the fixed part in this order.
template <MessageType Type, typename RequestRecord, typename ResponseRecord,
          std::size_t... TextLengths>
struct Message {
  using Request = RequestRecord;  // NoRequest: the request has no payload.
  using Response = ResponseRecord;
  static constexpr MessageType kType = Type;
  static constexpr std::array<std::size_t, sizeof...(TextLengths)> kTextLengths = {TextLengths...};
};

template <typename... Message>
struct MessageList {};

using Messages = MessageList<
    Message<MsgSdkInit, SdkInitRequest, SdkInitResponse,
            offsetof(SdkInitRequest, channelNameLength)>,
    Message<MsgUserLogin, UserLoginRequest, UserLoginResponse,
            offsetof(UserLoginRequest, accountLength),
            offsetof(UserLoginRequest, credentialLength)>,
    Message<MsgSdkRelease, NoRequest, SdkReleaseResponse>,
    Message<MsgSdkIsInitialised, NoRequest, SdkIsInitialisedResponse>,
    Message<MsgStartAccel, StartAccelRequest, StartAccelResponse,
            offsetof(StartAccelRequest, startTextLength),
            offsetof(StartAccelRequest, nodeSelectionLength)>,
    Message<MsgStartAccelEx, StartAccelExRequest, StartAccelResponse,
            offsetof(StartAccelRequest, startTextLength),
            offsetof(StartAccelRequest, nodeSelectionLength)>,
    Message<MsgStopAccel, NoRequest, StopAccelResponse>,
    Message<MsgQueryAccelOwner, NoRequest, AccelOwnerResponse>,
    Message<MsgGetAccelData, NoRequest, AccelDataResponse>,
    Message<MsgGetGameLastAccelInfo, GameRequest, GameLastAccelInfoResponse>,
    Message<MsgGetGameAccelInfo, GameRequest, GameAccelInfoResponse>,
    Message<MsgGetTestSpeedData, TestSpeedRequest, TestSpeedResponse,
            offsetof(TestSpeedRequest, serverKeyLength)>,
    Message<MsgGetConsoleData, NoRequest, ConsoleDataResponse>,
    Message<MsgGetGameUsedNodeList, GameRequest, UsedNodeListResponse>,
    Message<MsgClientLeaving, NoRequest, ClientLeavingResponse>,
    Message<MsgHeartbeat, NoRequest, HeartbeatResponse>>;

// The same for those who go through all messages and need no types.
struct MessageRow {
  MessageType type;
  std::size_t requestSize;   // Fixed part of the request; 0 for none.
  std::size_t requestTexts;  // How many texts follow it.
  std::size_t responseSize;  // Fixed part of the response.
};

template <typename... Message>
constexpr std::array<MessageRow, sizeof...(Message)> messageRows(MessageList<Message...>) {
  return {MessageRow{Message::kType, recordSize<typename Message::Request>,
                     Message::kTextLengths.size(), sizeof(typename Message::Response)}...};
}
inline constexpr auto kMessages = messageRows(Messages());
static_assert(kMessages.size() == 16);

// As much as a text's 16-bit length field can announce.
inline constexpr std::size_t kLongestText = 65'535;

// The longest request that a client can mean: a fixed part, and its texts at their longest.
constexpr std::size_t longestRequest() {
  std::size_t longest = 0;
  for (const MessageRow& row : kMessages) {
    longest = std::max(longest, row.requestSize + row.requestTexts * kLongestText);
  }
  return longest;
}
static_assert(longestRequest() == 24 + 2 * kLongestText);

}  // namespace orva_accelerator::ipc
