#include "tests/handlers/frame_ledger.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "ipc/wire/notifications.h"

namespace orva_accelerator::test {
namespace {

std::string narrow(const std::wstring& ascii) {
  std::string text;
  for (const wchar_t unit : ascii) text += static_cast<char>(unit);
  return text;
}

bool isStormResult(std::span<const std::uint8_t> payload) {
  ipc::AccelResultPayload fixed = {};
  if (payload.size() < sizeof(fixed)) return false;
  std::memcpy(&fixed, payload.data(), sizeof(fixed));
  const std::uint32_t sequence = fixed.value1;
  const std::string text1 = narrow(stormText1(sequence));
  const std::string text2 = narrow(stormText2(sequence));
  const std::string_view texts(reinterpret_cast<const char*>(payload.data()) + sizeof(fixed),
                               payload.size() - sizeof(fixed));
  return fixed.value2 == stormValue(sequence, 2) && fixed.value3 == stormValue(sequence, 3) &&
         fixed.value4 == stormValue(sequence, 4) && fixed.value5 == stormValue(sequence, 5) &&
         fixed.text1Length == text1.size() && fixed.text2Length == text2.size() &&
         texts == text1 + text2;
}

bool isStopResult(std::span<const std::uint8_t> payload) {
  ipc::StopResultPayload fixed = {};
  if (payload.size() < sizeof(fixed)) return false;
  std::memcpy(&fixed, payload.data(), sizeof(fixed));
  const std::string_view text(reinterpret_cast<const char*>(payload.data()) + sizeof(fixed),
                              payload.size() - sizeof(fixed));
  if (fixed.textLength != text.size() || fixed.success != (fixed.code == 0 ? 1U : 0U)) return false;
  return text == (fixed.code == 0 ? "Acceleration stopped successfully" : "");
}

}  // namespace

// Never 20 bytes of payload, which is what a header has.
std::wstring stormText1(std::uint32_t sequence) {
  return std::wstring(sequence % 1499, static_cast<wchar_t>(L'a' + sequence % 26));
}

std::wstring stormText2(std::uint32_t sequence) {
  return L"result " + std::to_wstring(sequence);
}

std::uint32_t stormValue(std::uint32_t sequence, std::uint32_t which) {
  return (sequence + which) * 2'654'435'761U;
}

void FrameLedger::add(std::span<const std::uint8_t> message) {
  const std::lock_guard lock(mutex_);
  if (auto header = parseNotificationHeader(message)) {
    if (header->payloadLength != 0) open_.push_back(std::move(*header));
    return;
  }
  addPayload(message);
}

void FrameLedger::addPayload(std::span<const std::uint8_t> payload) {
  const auto header = std::find_if(open_.begin(), open_.end(), [&](const Notification& candidate) {
    return candidate.payloadLength == payload.size() && belongs(payload, candidate.type);
  });
  if (header == open_.end()) {
    if (!violation_.empty()) return;
    violation_ = "a payload of " + std::to_string(payload.size()) + " bytes that fits none of " +
                 std::to_string(open_.size()) + " headers";
    return;
  }
  if (header->type != ipc::NotifyStopAccel) {
    ipc::AccelResultPayload fixed = {};
    std::memcpy(&fixed, payload.data(), sizeof(fixed));
    results_.push_back(fixed.value1);
  }
  open_.erase(header);
}

bool FrameLedger::belongs(std::span<const std::uint8_t> payload, std::uint32_t type) {
  switch (type) {
    case ipc::NotifyStartAccel:
    case ipc::NotifyStartAccelEx:
      return isStormResult(payload);
    case ipc::NotifyStopAccel:
      return isStopResult(payload);
    default:
      return false;
  }
}

std::string FrameLedger::violation() const {
  const std::lock_guard lock(mutex_);
  return violation_;
}

std::size_t FrameLedger::open() const {
  const std::lock_guard lock(mutex_);
  return open_.size();
}

std::vector<std::uint32_t> FrameLedger::results() const {
  const std::lock_guard lock(mutex_);
  return results_;
}

}  // namespace orva_accelerator::test
