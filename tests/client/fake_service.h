// A service that answers as it is told.
//
// It knows headers and nothing of what is in payloads: tests give it whole messages, mostly golden
// ones. It runs on threads of its own, on pipes with unique names, until it is destroyed.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "tests/client/server_end.h"
#include "tests/support/golden_vectors.h"
#include "tests/support/pipe_names.h"

namespace orva_accelerator::test {

class FakeService {
 public:
  FakeService();
  FakeService(const FakeService&) = delete;
  FakeService& operator=(const FakeService&) = delete;
  ~FakeService();

  const std::wstring& requestPipe() const { return requestPipe_; }
  const std::wstring& pushPipe() const { return pushPipe_; }

  // Answers requests of `type` with these messages from now on; without any, the request is never
  // answered. Every other type gets the empty answer of an unknown one.
  void answer(std::uint32_t type, std::vector<Bytes> messages);
  // The same from vectors of responses.json and their headers.
  void answerWith(const char* vector);
  // After the answer to `type` has been written, these go to every registered push client; the
  // header's client id is replaced by that of the request.
  void announceAfter(std::uint32_t type, std::vector<const char*> notifications);

  // Sends a message to every registered push client.
  void announce(const Bytes& message);
  // Header and payload of a vector of notifications.json.
  void announceVector(const char* vector, std::optional<std::uint32_t> clientId = {});
  bool waitForRegistration(std::uint32_t clientId);

  // The requests so far, whole: header and payload.
  std::vector<Bytes> requests() const;
  std::size_t countOf(std::uint32_t type) const;

 private:
  struct Registered {
    std::uint32_t clientId;
    ServerEnd* end;
  };

  void serveRequests();
  void serveOneClient(ServerEnd& end);
  void servePushes();

  std::wstring requestPipe_ = uniquePipeName(L"request");
  std::wstring pushPipe_ = uniquePipeName(L"push");
  win32::UniqueKernelHandle stop_;
  mutable std::mutex mutex_;
  std::map<std::uint32_t, std::vector<Bytes>> answers_;
  std::map<std::uint32_t, std::vector<const char*>> announcements_;
  std::vector<Bytes> requests_;
  std::vector<Registered> registered_;
  std::vector<std::thread> threads_;
};

}  // namespace orva_accelerator::test
