// What a hostile client sends, chosen from a seed.
#pragma once

#include <cstdint>
#include <random>
#include <vector>

#include "client/bytes.h"

namespace orva_accelerator::test {

// One thing that a client does on its connection.
struct HostileFrame {
  enum class Then {
    Answered,  // The service gives as many answers as `answers`, and the connection stands.
    HungUpOn,  // After the answers, if any, the service ends the connection without a byte.
    Leave,     // The client closes its end at once, whatever the service does.
  };
  std::vector<client::Bytes> messages;
  Then then = Then::Answered;
  unsigned answers = 0;
  // What it is about; for messages of failed tests.
  const char* kind = "";
};

// Never asks for anything that ends the service by design: no list of nodes, which ends it when it
// is malformed, and no leaving, which ends it when nobody is left. Not for several threads at once.
class HostileFrames {
 public:
  explicit HostileFrames(std::uint64_t seed) : random_(seed) {}

  HostileFrame next();
  // The message of a client that fails to register on the push pipe.
  client::Bytes nextBadRegistration();
  // Below `end`.
  std::uint32_t below(std::uint32_t end);

 private:
  HostileFrame nextAnswered();
  HostileFrame nextFatal();
  client::Bytes noise(std::size_t length);
  client::Bytes lyingPayload();
  std::uint32_t knownType();
  std::uint32_t unknownType();

  std::mt19937_64 random_;
};

}  // namespace orva_accelerator::test
