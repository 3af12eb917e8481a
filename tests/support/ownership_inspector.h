// The four fields of the ownership, for tests that have to see or bring about what no order of
// requests and results leads to.
#pragma once

#include <cstdint>

#include "ipc/acceleration_ownership.h"

namespace orva_accelerator::ipc {

struct Owner {
  bool accelerating;
  std::uint32_t acceleratingClientId;
  bool startPending;
  std::uint32_t startPendingClientId;
  bool operator==(const Owner&) const = default;
};

inline constexpr Owner kNobody = {false, 0, false, 0};

class AccelerationOwnershipInspector {
 public:
  static Owner get(const AccelerationOwnership& ownership) {
    return {ownership.accelerating, ownership.acceleratingClientId, ownership.startPending,
            ownership.startPendingClientId};
  }
  static void set(AccelerationOwnership& ownership, const Owner& owner) {
    ownership.accelerating = owner.accelerating;
    ownership.acceleratingClientId = owner.acceleratingClientId;
    ownership.startPending = owner.startPending;
    ownership.startPendingClientId = owner.startPendingClientId;
  }
};

inline Owner get(const AccelerationOwnership& ownership) {
  return AccelerationOwnershipInspector::get(ownership);
}
inline void set(AccelerationOwnership& ownership, const Owner& owner) {
  AccelerationOwnershipInspector::set(ownership, owner);
}

}  // namespace orva_accelerator::ipc
