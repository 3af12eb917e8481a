#include "tests/soak/hostile_frames.h"

#include <array>
#include <cstddef>
#include <cstring>

#include "ipc/wire/headers.h"
#include "ipc/wire/messages.h"
#include "tests/soak/soak_session.h"

namespace orva_accelerator::test {
namespace {

using client::Bytes;
using Then = HostileFrame::Then;

constexpr std::array kHarmlessTypes = {ipc::MsgSdkInit,
                                       ipc::MsgUserLogin,
                                       ipc::MsgSdkIsInitialised,
                                       ipc::MsgStopAccel,
                                       ipc::MsgQueryAccelOwner,
                                       ipc::MsgGetAccelData,
                                       ipc::MsgGetGameLastAccelInfo,
                                       ipc::MsgGetGameAccelInfo,
                                       ipc::MsgGetTestSpeedData,
                                       ipc::MsgGetConsoleData,
                                       ipc::MsgGetGameUsedNodeList,
                                       ipc::MsgHeartbeat};

constexpr std::size_t kHeader = sizeof(ipc::MessageHeader);
constexpr std::size_t kLengthOffset = offsetof(ipc::MessageHeader, payloadLength);

Bytes part(const Bytes& whole, std::size_t from, std::size_t to) {
  return {whole.begin() + static_cast<std::ptrdiff_t>(from),
          whole.begin() + static_cast<std::ptrdiff_t>(to)};
}

Bytes joined(Bytes first, const Bytes& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

Bytes announcing(Bytes message, std::uint32_t length) {
  std::memcpy(message.data() + kLengthOffset, &length, sizeof length);
  return message;
}

}  // namespace

std::uint32_t HostileFrames::below(std::uint32_t end) {
  return static_cast<std::uint32_t>(random_() % end);
}

Bytes HostileFrames::noise(std::size_t length) {
  Bytes bytes(length);
  for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random_());
  return bytes;
}

// Numbers that look like lengths, small ones and the largest, before and between noise.
Bytes HostileFrames::lyingPayload() {
  Bytes bytes = noise(below(64));
  constexpr std::array<std::uint8_t, 6> kTelling = {0x00, 0x01, 0x7F, 0x80, 0xFE, 0xFF};
  for (std::uint8_t& byte : bytes) {
    if (below(2) == 0) byte = kTelling[below(kTelling.size())];
  }
  return bytes;
}

std::uint32_t HostileFrames::knownType() {
  // Seldom: loading the library anew takes its time.
  if (below(2'000) == 0) return ipc::MsgSdkRelease;
  return kHarmlessTypes[below(kHarmlessTypes.size())];
}

std::uint32_t HostileFrames::unknownType() {
  for (;;) {
    // Some of them a bit away from a known one.
    const auto type = below(2) == 0
                          ? static_cast<std::uint32_t>(random_())
                          : kHarmlessTypes[below(kHarmlessTypes.size())] ^ 1U << below(32);
    switch (type) {
      case ipc::MsgSdkRelease:
      case ipc::MsgStartAccel:
      case ipc::MsgStartAccelEx:
      case ipc::MsgClientLeaving:
        continue;
      default:
        return type;
    }
  }
}

HostileFrame HostileFrames::next() {
  return below(10) < 8 ? nextAnswered() : nextFatal();
}

HostileFrame HostileFrames::nextAnswered() {
  switch (below(6)) {
    case 0:
      return {{frame(knownType(), lyingPayload())}, Then::Answered, 1, "lying payload"};
    case 1: {
      const Bytes whole = frame(knownType(), joined({0}, lyingPayload()));
      return {{part(whole, 0, kHeader), part(whole, kHeader, whole.size())},
              Then::Answered,
              1,
              "header and payload apart"};
    }
    case 2:
      return {{frame(unknownType(), noise(below(500)))}, Then::Answered, 1, "unknown type"};
    case 3:
      return {{joined(frame(knownType(), lyingPayload()), frame(unknownType(), noise(below(40))))},
              Then::Answered,
              2,
              "two requests in one message"};
    case 4: {
      Bytes message = frame(knownType());
      const Bytes words = noise(8);
      std::memcpy(message.data() + offsetof(ipc::MessageHeader, reserved1), words.data(), 4);
      std::memcpy(message.data() + offsetof(ipc::MessageHeader, reserved2), words.data() + 4, 4);
      return {{std::move(message)}, Then::Answered, 1, "reserved words"};
    }
    default: {
      const std::size_t length = below(50) == 0 ? 64'000 + below(1'000'000) : below(9'000);
      return {{frame(unknownType(), Bytes(length, 0xAA))}, Then::Answered, 1, "long payload"};
    }
  }
}

HostileFrame HostileFrames::nextFatal() {
  const Bytes whole = frame(knownType(), joined({0}, lyingPayload()));
  const Bytes head = part(whole, 0, kHeader);
  switch (below(9)) {
    case 0:
      return {{part(whole, 0, below(kHeader))}, Then::HungUpOn, 0, "short header"};
    case 1: {
      Bytes message = whole;
      message[below(4)] ^= static_cast<std::uint8_t>(1U << below(8));
      return {{std::move(message)}, Then::HungUpOn, 0, "wrong magic"};
    }
    case 2: {
      const std::size_t cut = 1 + below(kHeader - 1);
      return {
          {part(whole, 0, cut), part(whole, cut, whole.size())}, Then::HungUpOn, 0, "split header"};
    }
    case 3: {
      const auto sent = static_cast<std::uint32_t>(whole.size() - kHeader);
      const std::uint32_t more = below(8) == 0 ? 0xFFFFFFFFU - sent : 1 + below(100'000);
      return {
          {announcing(whole, sent + more)}, Then::HungUpOn, 0, "payload shorter than announced"};
    }
    case 4: {
      const Bytes payload = noise(2 + below(200));
      const std::size_t cut = 1 + below(static_cast<std::uint32_t>(payload.size() - 1));
      return {{announcing(head, static_cast<std::uint32_t>(payload.size())), part(payload, 0, cut),
               part(payload, cut, payload.size())},
              Then::HungUpOn,
              0,
              "split payload"};
    }
    case 5:
      // No magic begins with this byte. Few enough for the pipe's buffer: the service reads no
      // further before its answer is read.
      return {{joined(whole, Bytes(1 + below(4'000), 0x11))}, Then::HungUpOn, 1, "excess bytes"};
    case 6:
      return {{announcing(head, 1 + below(5'000))}, Then::Leave, 0, "vanishing before the payload"};
    case 7: {
      std::vector<Bytes> unread(1 + below(3), whole);
      return {std::move(unread), Then::Leave, 0, "leaving answers unread"};
    }
    default:
      return {{}, Then::Leave, 0, "leaving without a word"};
  }
}

Bytes HostileFrames::nextBadRegistration() {
  const std::uint32_t length = below(3) == 0 ? 5 + below(5'000) : below(4);
  return noise(length);
}

}  // namespace orva_accelerator::test
