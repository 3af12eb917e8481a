// Clients as the service's users write them: one whose connection breaks connects anew.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "tests/support/raw_pipe_client.h"

namespace orva_accelerator::test {

class PersistentRequestClient {
 public:
  // `patience`: how long an answer may take before the connection counts as broken.
  PersistentRequestClient(std::wstring pipeName, std::uint32_t clientId,
                          std::chrono::milliseconds patience);

  // Asks until a whole answer comes, a few times; nothing if none came.
  std::optional<std::vector<std::uint8_t>> ask(std::uint32_t type,
                                               std::span<const std::uint8_t> payload = {});
  void leave() { pipe_.close(); }
  // Connections that broke before an answer had come.
  std::size_t brokenConnections() const { return broken_; }

 private:
  std::optional<std::vector<std::uint8_t>> askOnce(std::span<const std::uint8_t> request);

  std::wstring pipeName_;
  std::uint32_t clientId_;
  std::chrono::milliseconds patience_;
  RawPipeClient pipe_;
  std::size_t broken_ = 0;
};

class PersistentPushClient {
 public:
  PersistentPushClient(std::wstring pipeName, std::uint32_t clientId);

  // Makes sure that the server in this process has it registered.
  [[nodiscard]] bool beRegistered();
  // Whether the next notification came whole; false also when the connection broke.
  [[nodiscard]] bool receives();
  void leave() { pipe_.close(); }
  std::size_t brokenConnections() const { return broken_; }

 private:
  bool isBroken() const;

  std::wstring pipeName_;
  std::uint32_t clientId_;
  RawPipeClient pipe_;
  std::size_t broken_ = 0;
};

}  // namespace orva_accelerator::test
