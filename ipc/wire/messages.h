// The table of all requests: for each, its number, the records of its two payloads and where its
// texts are. The numbers are fixed: clients in the field depend on every one of them.
//
// The dispatcher, the read margin, the client's requests and the tests take from here what they
// know of a message. docs/protocol.md describes each.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "ipc/wire/requests.h"
#include "ipc/wire/responses.h"

namespace orva_accelerator::ipc {

// MessageHeader::type. Matched as a whole 32-bit value; every other number is an unknown request,
// answered with an empty response.
enum MessageType : std::uint32_t {
  MsgSdkInit = 0x100,
  MsgUserLogin = 0x101,
  MsgSdkRelease = 0x102,
  MsgSdkIsInitialised = 0x200,
  MsgStartAccel = 0x500,
  MsgStartAccelEx = 0x501,
  MsgStopAccel = 0x502,
  MsgQueryAccelOwner = 0x503,
  MsgGetAccelData = 0x600,
  MsgGetGameLastAccelInfo = 0x601,
  MsgGetGameAccelInfo = 0x602,
  MsgGetTestSpeedData = 0x603,
  MsgGetConsoleData = 0x604,
  MsgGetGameUsedNodeList = 0x605,
  MsgClientLeaving = 0x700,
  MsgHeartbeat = 0xFFFF,
};

// Where in a record the lengths of its texts stand, as 16-bit fields. The texts follow the record
// in this order.
template <typename Record>
inline constexpr auto kTextLengths = std::array<std::size_t, 0>{};
template <>
inline constexpr auto kTextLengths<SdkInitRequest> =
    std::array{offsetof(SdkInitRequest, channelNameLength)};
template <>
inline constexpr auto kTextLengths<UserLoginRequest> = std::array{
    offsetof(UserLoginRequest, accountLength), offsetof(UserLoginRequest, credentialLength)};
template <>
inline constexpr auto kTextLengths<StartAccelRequest> = std::array{
    offsetof(StartAccelRequest, startTextLength), offsetof(StartAccelRequest, nodeSelectionLength)};
template <>
inline constexpr auto kTextLengths<StartAccelExRequest> = kTextLengths<StartAccelRequest>;
template <>
inline constexpr auto kTextLengths<TestSpeedRequest> =
    std::array{offsetof(TestSpeedRequest, serverKeyLength)};
template <>
inline constexpr auto kTextLengths<AccelDataResponse> =
    std::array{offsetof(AccelDataResponse, text3Length)};
template <>
inline constexpr auto kTextLengths<GameLastAccelInfoResponse> =
    std::array{offsetof(GameLastAccelInfoResponse, infoTextLength),
               offsetof(GameLastAccelInfoResponse, serverKeyLength)};
template <>
inline constexpr auto kTextLengths<GameAccelInfoResponse> =
    std::array{offsetof(GameAccelInfoResponse, gameTextLength),
               offsetof(GameAccelInfoResponse, infoTextLength),
               offsetof(GameAccelInfoResponse, serverKeyLength),
               offsetof(GameAccelInfoResponse, serverTextLength),
               offsetof(GameAccelInfoResponse, nodeTextLength)};
template <>
inline constexpr auto kTextLengths<UsedNodeBlock> =
    std::array{offsetof(UsedNodeBlock, usedText1Length), offsetof(UsedNodeBlock, usedText2Length)};

template <MessageType Type, typename RequestRecord, typename ResponseRecord>
struct Message {
  using Request = RequestRecord;  // NoRequest: the request has no payload.
  using Response = ResponseRecord;
  static constexpr MessageType kType = Type;
};

template <typename... Message>
struct MessageList : Message... {};

using Messages =
    MessageList<Message<MsgSdkInit, SdkInitRequest, SdkInitResponse>,
                Message<MsgUserLogin, UserLoginRequest, UserLoginResponse>,
                Message<MsgSdkRelease, NoRequest, SdkReleaseResponse>,
                Message<MsgSdkIsInitialised, NoRequest, SdkIsInitialisedResponse>,
                Message<MsgStartAccel, StartAccelRequest, StartAccelResponse>,
                Message<MsgStartAccelEx, StartAccelExRequest, StartAccelResponse>,
                Message<MsgStopAccel, NoRequest, StopAccelResponse>,
                Message<MsgQueryAccelOwner, NoRequest, AccelOwnerResponse>,
                Message<MsgGetAccelData, NoRequest, AccelDataResponse>,
                Message<MsgGetGameLastAccelInfo, GameRequest, GameLastAccelInfoResponse>,
                Message<MsgGetGameAccelInfo, GameRequest, GameAccelInfoResponse>,
                Message<MsgGetTestSpeedData, TestSpeedRequest, TestSpeedResponse>,
                Message<MsgGetConsoleData, NoRequest, ConsoleDataResponse>,
                Message<MsgGetGameUsedNodeList, GameRequest, UsedNodeListResponse>,
                Message<MsgClientLeaving, NoRequest, ClientLeavingResponse>,
                Message<MsgHeartbeat, NoRequest, HeartbeatResponse>>;

// The row of one type.
template <MessageType Type, typename Request, typename Response>
Message<Type, Request, Response> rowOf(const Message<Type, Request, Response>& list);
template <MessageType Type>
using MessageOf = decltype(rowOf<Type>(Messages()));

// The same for those who go through all messages and need no types.
struct MessageRow {
  MessageType type;
  std::size_t requestSize;   // Fixed part of the request; 0 for none.
  std::size_t requestTexts;  // How many texts follow it.
  std::size_t responseSize;  // Fixed part of the response.
};

template <typename... Message>
constexpr std::array<MessageRow, sizeof...(Message)> messageRows(MessageList<Message...>) {
  return {MessageRow{Message::kType, kRecordSize<typename Message::Request>,
                     kTextLengths<typename Message::Request>.size(),
                     sizeof(typename Message::Response)}...};
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
