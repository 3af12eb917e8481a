// Who owns the acceleration: the one place where that changes hands.
//
// docs/architecture.md shows the states and transitions as a diagram.
#pragma once

#include <atomic>
#include <cstdint>

namespace orva_accelerator::ipc {

// Two slots, one for the running acceleration and one for a start that has no result yet; both are
// taken while an extended start replaces a running acceleration. Client id 0 owns nothing.
//
// Request threads, the library's threads and the supervisor read and write the fields without a
// lock: each is atomic, the four together are not, so that a reader may see a flag and an id from
// different moments. That is accepted: the library is the judge of what really runs.
class AccelerationOwnership {
 public:
  // A client has asked for a start and has taken the pending slot. False, and nothing changed, when
  // another start is pending: of several at the same moment, one takes the slot. What runs already,
  // runs on until the library says otherwise.
  bool beginStart(std::uint32_t clientId);

  // An extended start has told the library to stop what was running. The pending slot stays.
  void forgetRunning();

  // A start of this client has reported `state`. 4 makes it the owner, 5 to 7 end the
  // acceleration, and both settle the pending start; all other states change nothing.
  void settle(std::uint32_t state, std::uint32_t clientId);

  // Nothing runs and nothing is pending: refused start, stop, leaving owner, last client gone.
  void clear();

  bool isStartPending() const { return startPending; }
  // The client's own start is pending. Client id 0 may have one, though it never owns anything.
  bool isPendingFor(std::uint32_t clientId) const;
  // Something runs or is being started.
  bool isActive() const { return startPending || accelerating; }
  // The client may end the acceleration by leaving.
  bool isHeldBy(std::uint32_t clientId) const;
  // What a client is told when it asks while something is active. Unlike isHeldBy, this looks at
  // ids whose flag is not set: a client that lost one slot counts as long as the other is taken.
  bool isReportedAsOwner(std::uint32_t clientId) const;

 private:
  friend class AccelerationOwnershipInspector;  // Lets tests see and set the four fields.

  std::atomic<bool> accelerating = false;
  std::atomic<std::uint32_t> acceleratingClientId = 0;
  std::atomic<bool> startPending = false;
  std::atomic<std::uint32_t> startPendingClientId = 0;
};

}  // namespace orva_accelerator::ipc
