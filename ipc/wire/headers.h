// The three fixed headers that frame every byte on the two pipes.
//
// All integers are little-endian and the headers are packed. A header and its payload follow each
// other back to back. This header is shared by the service and by its clients, and needs nothing
// of the operating system.
#pragma once

#include <cstddef>
#include <cstdint>

namespace orva_accelerator::ipc {

// The bytes "PLXR".
inline constexpr std::uint32_t kRequestMagic = 0x52584C50;
// The bytes "PKXR".
inline constexpr std::uint32_t kPushMagic = 0x52584B50;

#pragma pack(push, 1)

// Client to service, on the request pipe, ahead of every request. A frame that breaks a rule given
// here is never answered: the service ends the connection.
struct MessageHeader {
  std::uint32_t magic;          // kRequestMagic, or the connection ends.
  std::uint32_t reserved1;      // Never read. Clients write 0.
  std::uint32_t type;           // A MessageType; an unknown one is answered with no payload.
  std::uint32_t payloadLength;  // Bytes of payload that follow; 0 for none.
  std::uint32_t reserved2;      // Never read. Clients write 0.
  std::uint32_t clientId;       // The id that the client announces on the push pipe.
};

// Service to client, on the request pipe, ahead of every response. Carries no status: success and
// failure of an operation travel in the response payload.
struct ResponseHeader {
  std::uint32_t reserved;       // Always 0.
  std::uint32_t payloadLength;  // Bytes of response payload that follow; 0 for none.
};

// Service to client, on the push pipe, ahead of every notification. Arrives as a pipe message of
// its own; the payload, if there is one, is the next message.
struct PushFrameHeader {
  std::uint32_t magic;          // kPushMagic.
  std::uint32_t clientId;       // Whose request is answered. Every push client gets every frame.
  std::uint32_t type;           // A NotificationType.
  std::uint32_t payloadLength;  // Bytes of payload that follow.
  std::uint32_t timestamp;      // Low 32 bits of the system time in 100 ns ticks since 1970-01-01
                                // UTC; wraps about every 429 s, so it orders and nothing more.
};

#pragma pack(pop)

static_assert(sizeof(MessageHeader) == 24);
static_assert(offsetof(MessageHeader, magic) == 0);
static_assert(offsetof(MessageHeader, reserved1) == 4);
static_assert(offsetof(MessageHeader, type) == 8);
static_assert(offsetof(MessageHeader, payloadLength) == 12);
static_assert(offsetof(MessageHeader, reserved2) == 16);
static_assert(offsetof(MessageHeader, clientId) == 20);

static_assert(sizeof(ResponseHeader) == 8);
static_assert(offsetof(ResponseHeader, reserved) == 0);
static_assert(offsetof(ResponseHeader, payloadLength) == 4);

static_assert(sizeof(PushFrameHeader) == 20);
static_assert(offsetof(PushFrameHeader, magic) == 0);
static_assert(offsetof(PushFrameHeader, clientId) == 4);
static_assert(offsetof(PushFrameHeader, type) == 8);
static_assert(offsetof(PushFrameHeader, payloadLength) == 12);
static_assert(offsetof(PushFrameHeader, timestamp) == 16);

}  // namespace orva_accelerator::ipc
