// The notifications: their numbers, which are fixed, and the fixed parts of their payloads. Texts
// follow them back to back, in the order of their length fields, in UTF-8 without terminator;
// lengths are in bytes, modulo 65536.
//
// Padding goes out as zeros; clients ignore it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace orva_accelerator::ipc {

// PushFrameHeader::type: the outcome of an operation that was answered before it had one.
enum NotificationType : std::uint32_t {
  NotifyStartAccel = 0x1000,
  NotifyStartAccelEx = 0x1001,
  NotifyStopAccel = 0x1002,
  NotifyUserLogin = 0x1003,
};

#pragma pack(push, 1)

// NotifyStartAccel and NotifyStartAccelEx. Texts: text1, text2. `state` travels before `value4`,
// the reverse of their order in sdk::SAccelResult; clients depend on it.
struct AccelResultPayload {
  std::uint32_t value1;
  std::uint32_t value2;
  std::uint16_t text1Length;
  std::uint16_t padding1;
  std::uint32_t value3;
  std::uint32_t state;  // 4: accelerating; 5, 6, 7: ended or failed; others: progress.
  std::uint32_t value4;
  std::uint32_t value5;
  std::uint16_t text2Length;
  std::uint16_t padding2;
};

// NotifyStopAccel. Text: a message.
struct StopResultPayload {
  std::uint32_t success;  // 1 if `code` is 0, else 0.
  std::int32_t code;      // As the library reported it.
  std::uint16_t textLength;
  std::uint16_t padding;
};

// NotifyUserLogin. Text: a message.
struct LoginResultPayload {
  std::int32_t code;  // As the library reported it.
  std::uint16_t textLength;
  std::uint16_t padding;
};

#pragma pack(pop)

static_assert(sizeof(AccelResultPayload) == 32);
static_assert(offsetof(AccelResultPayload, value1) == 0);
static_assert(offsetof(AccelResultPayload, value2) == 4);
static_assert(offsetof(AccelResultPayload, text1Length) == 8);
static_assert(offsetof(AccelResultPayload, padding1) == 10);
static_assert(offsetof(AccelResultPayload, value3) == 12);
static_assert(offsetof(AccelResultPayload, state) == 16);
static_assert(offsetof(AccelResultPayload, value4) == 20);
static_assert(offsetof(AccelResultPayload, value5) == 24);
static_assert(offsetof(AccelResultPayload, text2Length) == 28);
static_assert(offsetof(AccelResultPayload, padding2) == 30);

static_assert(sizeof(StopResultPayload) == 12);
static_assert(offsetof(StopResultPayload, success) == 0);
static_assert(offsetof(StopResultPayload, code) == 4);
static_assert(offsetof(StopResultPayload, textLength) == 8);
static_assert(offsetof(StopResultPayload, padding) == 10);

static_assert(sizeof(LoginResultPayload) == 8);
static_assert(offsetof(LoginResultPayload, code) == 0);
static_assert(offsetof(LoginResultPayload, textLength) == 4);
static_assert(offsetof(LoginResultPayload, padding) == 6);

}  // namespace orva_accelerator::ipc
