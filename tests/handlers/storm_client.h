// One client of the storm.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <thread>

#include "tests/handlers/frame_ledger.h"
#include "tests/support/running_server.h"

namespace orva_accelerator::test {

// A registered push connection that is read all the time, by a thread of its own.
class ListeningConnection {
 public:
  ListeningConnection(const RunningServer& server, std::uint32_t clientId);
  ListeningConnection(const ListeningConnection&) = delete;
  ListeningConnection& operator=(const ListeningConnection&) = delete;
  // Goes away without a word.
  ~ListeningConnection();

  const FrameLedger& ledger() const { return ledger_; }
  bool isClosed() const { return closed_; }

 private:
  FrameLedger ledger_;
  std::atomic<bool> ending_ = false;
  std::atomic<bool> closed_ = false;  // By the server.
  PushConnection connection_;
  std::thread reader_;
};

class StormClient {
 public:
  // `restless` is the least time between two of its departures: each costs the server a thread that
  // it keeps.
  StormClient(const RunningServer& server, std::uint32_t id, unsigned seed,
              std::chrono::milliseconds restless);

  // Does something at random again and again until then.
  void storm(std::chrono::steady_clock::time_point until);

  std::uint32_t id() const { return id_; }
  RequestConnection& requests() { return *requests_; }
  std::size_t requestCount() const { return requestCount_; }
  const ListeningConnection& listener() const { return *listener_; }
  // The first thing that should not have happened; empty for nothing.
  const std::string& violation() const { return violation_; }

  // Has a request connection and a push registration afterwards.
  void comeBack();

 private:
  void ask(std::uint32_t type, std::size_t answerSize);
  void leave();
  void vanish();
  void settleAccounts();
  unsigned roll(unsigned sides) { return static_cast<unsigned>(random_()) % sides; }

  const RunningServer& server_;
  std::uint32_t id_;
  std::mt19937 random_;
  std::chrono::milliseconds restless_;
  std::chrono::steady_clock::time_point nextDeparture_;
  std::unique_ptr<RequestConnection> requests_;
  std::unique_ptr<ListeningConnection> listener_;
  std::size_t requestCount_ = 0;
  std::string violation_;
};

}  // namespace orva_accelerator::test
