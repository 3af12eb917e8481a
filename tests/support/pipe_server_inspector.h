// What a PipeServer keeps to itself, for tests that have to see or bring about a state that no
// client can.
#pragma once

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <utility>

#include "ipc/pipe_server.h"

namespace orva_accelerator::ipc {

class PipeServerInspector {
 public:
  explicit PipeServerInspector(PipeServer& server) : server_(server) {}

  // A copy of the push-client table, taken under its mutex.
  std::map<std::uint32_t, PushClient> pushClients() const {
    const std::lock_guard lock(pushClientsMutex());
    return server_.pushClients.pushClients;
  }
  // Null when the client is not in the table.
  std::shared_ptr<PushPipe> pushPipe(std::uint32_t id) const {
    const auto clients = pushClients();
    const auto found = clients.find(id);
    return found == clients.end() ? nullptr : found->second.pipe;
  }
  void putPushClient(std::uint32_t id, PushClient client) {
    const std::lock_guard lock(pushClientsMutex());
    server_.pushClients.pushClients[id] = std::move(client);
  }
  // Held, it stops every access to the table.
  std::mutex& pushClientsMutex() const { return server_.pushClients.pushClientsMutex; }

  std::set<HANDLE> requestPipes() const {
    const std::lock_guard lock(server_.requestPipesMutex);
    return server_.requestPipes;
  }
  bool everyConnectionThreadIsJoinable() const {
    const std::lock_guard lock(server_.connectionThreadsMutex);
    return std::all_of(server_.connectionThreads.begin(), server_.connectionThreads.end(),
                       [](const std::thread& thread) { return thread.joinable(); });
  }
  std::size_t connectionThreadCount() const {
    const std::lock_guard lock(server_.connectionThreadsMutex);
    return server_.connectionThreads.size();
  }

  const std::wstring& requestPipeName() const { return server_.requestPipeName; }
  const std::wstring& pushPipeName() const { return server_.pushPipeName; }
  HANDLE stopEvent() const { return server_.stopEvent; }
  std::int64_t lastActivityMs() const { return server_.lastActivityMs; }
  std::thread& requestAcceptThread() { return server_.requestAcceptThread; }
  std::thread& pushAcceptThread() { return server_.pushAcceptThread; }
  std::thread& supervisorThread() { return server_.supervisorThread; }
  MessageHandler& messageHandler() { return server_.messageHandler; }

  // Everything that start does before it makes threads; for running a loop on the test's thread.
  void startWithoutThreads(const std::wstring& requestName, const std::wstring& pushName) {
    server_.stopEvent = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    server_.requestPipeName = requestName;
    server_.pushPipeName = pushName;
    server_.running = true;
    currentPipeServer = &server_;
  }
  void setRunning(bool running) { server_.running = running; }
  void runRequestAcceptLoop() { server_.RequestAcceptLoop(); }
  void runPushAcceptLoop() { server_.PushAcceptLoop(); }
  DWORD runPushClientThread(HANDLE pipe) {
    return server_.PushClientThread(win32::UniqueFileHandle(pipe));
  }
  void runSupervisorLoop() { server_.SupervisorLoop(); }

 private:
  PipeServer& server_;
};

}  // namespace orva_accelerator::ipc
