// The two calls of every list function: without an array it reports the number of records, with
// one it fills it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "simulator/call.h"

namespace orva_accelerator::simulator {

// A scenario may report any number; records are never written past the array that was handed in.
// True: the call failed.
template <typename Item, typename Record, typename Fill>
bool answerList(const Call& call, const std::vector<Item>& items, Record* records,
                std::uint32_t* count, Fill fill) {
  if (count == nullptr) return true;
  const CallBehaviour& behaviour = call.behaviour();
  if (records == nullptr) {
    *count = behaviour.countingCall.count.value_or(static_cast<std::uint32_t>(items.size()));
    return behaviour.countingCall.refuse;
  }
  std::size_t written = std::min<std::size_t>(*count, items.size());
  if (behaviour.fillingCall.count)
    written = std::min<std::size_t>(written, *behaviour.fillingCall.count);
  for (std::size_t i = 0; i < written; ++i) fill(items[i], records[i]);
  *count = behaviour.fillingCall.count.value_or(static_cast<std::uint32_t>(written));
  return behaviour.fillingCall.refuse;
}

// The turn of a call of a list function.
inline Turn turnOfList(const void* records) {
  return records == nullptr ? Turn::Next : Turn::Again;
}

// The arguments that all list functions share, logged.
template <typename Record>
void logList(LogEntry entry, const Record* records, const std::uint32_t* count) {
  entry.pointer("records", records != nullptr);
  if (count == nullptr) {
    entry.pointer("count", false);
  } else {
    entry.number("count", *count);
  }
  entry.write();
}

}  // namespace orva_accelerator::simulator
