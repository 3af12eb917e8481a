// The installed service under a part of the soak.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "client/bytes.h"
#include "tests/soak/soak_report.h"
#include "tests/support/handle_count.h"
#include "tests/support/raw_pipe_client.h"
#include "tests/system/byte_client.h"

namespace orva_accelerator::test {

// Header and payload as one message.
client::Bytes frame(std::uint32_t type, const client::Bytes& payload = {},
                    std::uint32_t clientId = 7);
// Of an initialisation, and of a login, with ordinary content.
client::Bytes initFrame();
client::Bytes loginFrame(std::uint32_t clientId = 7);

// Reads one answer whole: header and payload. True when it came, and its header is sound.
bool readAnswer(RawPipeClient& pipe, std::chrono::milliseconds limit = kPatience);
// Connects, unless it is connected, sends the message and reads the answer.
bool asksAndIsAnswered(RawPipeClient& pipe, const client::Bytes& message,
                       std::chrono::milliseconds limit = kPatience);

// Registers on the push pipe and waits until the service has read that.
bool registerPush(RawPipeClient& pipe, std::uint32_t clientId);
// Reads frames of logins until there is one of this client.
bool hearsOfLoginBy(RawPipeClient& pipe, std::uint32_t clientId);

// A running service that does not stop itself. Its library notes no calls, and looks for a new
// scenario at every call; see scenario().
class SoakSession : public ServiceSession {
 protected:
  void SetUp() override;

  // Replaces the "functions" of the library's scenario. It counts from the next call.
  void scenario(std::string_view functions);
  // Initialises the library. False fails the test.
  [[nodiscard]] bool initialise();

  // Of the service's process, in bytes.
  std::size_t workingSet() const;
  std::size_t peakWorkingSet() const;
  // Zeros when they cannot be had, which fails the test.
  HandleCounts handles() const;
  // Starts the service again, which has ended. False fails the test.
  [[nodiscard]] bool startAgain();
  enum class Stopped {
    AsMeant,
    // The process has asked for its end and is not let go: all its threads are gone but the one
    // that asked. Wine 8 does this to processes whose threads wait at busy pipes, whatever program
    // they run (termination_probe.cpp shows it). It has been ended by force.
    HeldUpByWine,
    Wrongly,
  };
  // Stops the service as its manager would. The test has failed unless it ends in time and in the
  // way that is meant, or Wine is in its way.
  Stopped stopAndCheck();

  // What abort() ends a process with; the service ends by std::terminate.
  static constexpr DWORD kDeliberateEnd = 3;
};

}  // namespace orva_accelerator::test
