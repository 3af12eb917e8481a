#include "ipc/acceleration_ownership.h"

#include "sdk/accel_result.h"
#include "win32/race_point.h"

namespace orva_accelerator::ipc {

void AccelerationOwnership::beginStart(std::uint32_t clientId) {
  setPending(true, clientId);
}

void AccelerationOwnership::forgetRunning() {
  setRunning(false, 0);
}

void AccelerationOwnership::settle(std::uint32_t state, std::uint32_t clientId) {
  if (state == sdk::AccelStateAccelerating) {
    setRunning(true, clientId);
  } else if (state >= sdk::AccelStateFirstEnded && state <= sdk::AccelStateLastEnded) {
    setRunning(false, 0);
  } else {
    return;
  }
  setPending(false, 0);
}

void AccelerationOwnership::clear() {
  setRunning(false, 0);
  setPending(false, 0);
}

bool AccelerationOwnership::isHeldBy(std::uint32_t clientId) const {
  if (clientId == 0) return false;
  return (accelerating && acceleratingClientId == clientId) ||
         (startPending && startPendingClientId == clientId);
}

bool AccelerationOwnership::isReportedAsOwner(std::uint32_t clientId) const {
  if (!isActive() || clientId == 0) return false;
  return acceleratingClientId == clientId || startPendingClientId == clientId;
}

void AccelerationOwnership::setRunning(bool running, std::uint32_t clientId) {
  accelerating.exchange(running);
  win32::racePoint("race: owner of what runs");
  acceleratingClientId.store(clientId, std::memory_order_release);
}

void AccelerationOwnership::setPending(bool pending, std::uint32_t clientId) {
  startPending.exchange(pending);
  win32::racePoint("race: owner of a start");
  startPendingClientId.store(clientId, std::memory_order_release);
}

}  // namespace orva_accelerator::ipc
