// Keeps account of what arrives on one push connection while several broadcasts may be under way.
#pragma once

#include <cstdint>
#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "tests/support/running_server.h"

namespace orva_accelerator::test {

// The result number `sequence` of the storm's library: its texts follow from the number, so that
// whoever receives the payload can tell whether it is whole and its own.
std::wstring stormText1(std::uint32_t sequence);
std::wstring stormText2(std::uint32_t sequence);
std::uint32_t stormValue(std::uint32_t sequence, std::uint32_t which);

// Header and payload of a broadcast are two messages, and another broadcast may write its own in
// between. What may not happen: a payload without a header of its length and kind ahead of it, a
// header whose payload never comes, a torn message.
class FrameLedger {
 public:
  void add(std::span<const std::uint8_t> message);

  // The first thing that should not have happened; empty for nothing.
  std::string violation() const;
  // Headers whose payload has not come yet.
  std::size_t open() const;
  // The sequence numbers of the results received, in order of their arrival.
  std::vector<std::uint32_t> results() const;

 private:
  void addPayload(std::span<const std::uint8_t> payload);
  bool belongs(std::span<const std::uint8_t> payload, std::uint32_t type);

  mutable std::mutex mutex_;
  std::vector<Notification> open_;
  std::vector<std::uint32_t> results_;
  std::string violation_;
};

}  // namespace orva_accelerator::test
