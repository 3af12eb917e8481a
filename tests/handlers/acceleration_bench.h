// A running server with three push clients and a library inside the process, for tests of who owns
// the acceleration.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ipc/acceleration_ownership.h"
#include "tests/support/fake_kernel.h"
#include "tests/support/running_server.h"

namespace orva_accelerator::test {

// The registered clients. In the states that have one, kOwner's acceleration runs and kPender's
// start is pending; kOther has neither.
inline constexpr std::uint32_t kOwner = 7;
inline constexpr std::uint32_t kOther = 8;
inline constexpr std::uint32_t kPender = 9;
// Not registered.
inline constexpr std::uint32_t kUnknown = 99;

enum class State {
  Idle,          // "- / -": kOwner's acceleration has ended.
  Starting,      // "- / 9"
  Accelerating,  // "7 / -"
  StartingOver,  // "7 / 9"
};
const char* nameOf(State state);

// "7 / 9": who accelerates, and whose start is pending. "-" for nobody, "(7)" for an id whose flag
// is not set.
std::string shown(const ipc::AccelerationOwnership& ownership);

class AccelerationBench {
 public:
  AccelerationBench();
  ~AccelerationBench();

  // Goes there by requests and results, from any state, and forgets the calls and notifications
  // that it took.
  void enter(State state);

  // A well-formed start request without texts ("auto" selection).
  std::optional<Bytes> ask(std::uint32_t clientId, std::uint32_t type);

  // The library reports a result of a start, or the outcome of a stop, on a thread of its own.
  void reportState(std::uint32_t state);
  void reportStop(int code);

  // The library's functions called since enter, in order: "StopAccel, StartAccelEx".
  std::string calls() const;
  // What every one of the three clients has received since enter, or was asked last:
  // "1000 for 9: state 4, 1002 for 8: code 0". Clients that receive different things fail the test;
  // those whose connection has ended are left out once they have received all there was.
  std::string notifications();

  // Leaves `clientId` as the only push client.
  void unregisterAllBut(std::uint32_t clientId);

  FakeKernel kernel;
  RunningServer server;
  RequestConnection requests{server};

 private:
  struct Listener {
    std::uint32_t id;
    std::unique_ptr<PushConnection> connection;
  };
  std::vector<Listener> listeners_;
};

}  // namespace orva_accelerator::test
