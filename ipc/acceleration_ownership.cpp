#include "ipc/acceleration_ownership.h"

#include "sdk/accel_result.h"
#include "win32/race_point.h"

namespace orva_accelerator::ipc {

namespace {

void setSlot(std::atomic<bool>& flag, std::atomic<std::uint32_t>& owner, bool taken,
             std::uint32_t clientId) {
  flag = taken;
  win32::racePoint("race: owner after its flag");
  owner = clientId;
}

}  // namespace

bool AccelerationOwnership::beginStart(std::uint32_t clientId) {
  win32::racePoint("race: start");
  if (startPending.exchange(true)) return false;
  win32::racePoint("race: owner of a start");
  startPendingClientId = clientId;
  return true;
}

void AccelerationOwnership::forgetRunning() {
  setSlot(accelerating, acceleratingClientId, false, 0);
}

void AccelerationOwnership::settle(std::uint32_t state, std::uint32_t clientId) {
  if (state == sdk::AccelStateAccelerating) {
    setSlot(accelerating, acceleratingClientId, true, clientId);
  } else if (state >= sdk::AccelStateFirstEnded && state <= sdk::AccelStateLastEnded) {
    forgetRunning();
  } else {
    return;
  }
  setSlot(startPending, startPendingClientId, false, 0);
}

void AccelerationOwnership::clear() {
  forgetRunning();
  setSlot(startPending, startPendingClientId, false, 0);
}

bool AccelerationOwnership::isPendingFor(std::uint32_t clientId) const {
  return startPending && startPendingClientId == clientId;
}

bool AccelerationOwnership::isHeldBy(std::uint32_t clientId) const {
  if (clientId == 0) return false;
  return (accelerating && acceleratingClientId == clientId) || isPendingFor(clientId);
}

bool AccelerationOwnership::isReportedAsOwner(std::uint32_t clientId) const {
  return clientId != 0 && (acceleratingClientId == clientId || startPendingClientId == clientId);
}

}  // namespace orva_accelerator::ipc
