// The one object through which local programs reach the service.
#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "ipc/acceleration_ownership.h"
#include "ipc/message_handler.h"
#include "ipc/push_client_table.h"
#include "win32/unique_handle.h"

namespace orva_accelerator::ipc {

// Listens on two named pipes: requests, one thread a connection, each request answered once and in
// order; and pushes, one parked thread a connection, which receive every notification. A third
// thread, the supervisor, stops the server when neither the host application nor the process of
// any push client is there any more.
//
// No thread is ever joined, because every one of them may be blocked in a pipe call for as long as
// a client likes. Destroying a server that was started therefore ends the process, through
// std::terminate, as the last act of a service stop.
class PipeServer {
 public:
  // Creates no handle, thread or event.
  PipeServer() = default;
  PipeServer(const PipeServer&) = delete;
  PipeServer& operator=(const PipeServer&) = delete;
  // Ends the process if the server was ever started.
  ~PipeServer();

  // False, and nothing changed, when the server runs already or its stop event cannot be created.
  // True once the two accept loops and the supervisor have been started. A stopped server cannot
  // be started again: its threads are still there, and starting them anew ends the process.
  bool start(const std::wstring& requestName, const std::wstring& pushName);

  // Tells every thread to end at its next look at isRunning or at the stop event. Waits for
  // nothing and interrupts nothing: an accept loop waits for one more client, a connection answers
  // the request that it is reading.
  void stop();

  bool isRunning() const { return running; }

  // Stamps the time of a request.
  void recordActivity();

  // The push clients, see PushClientTable. Registering is always true.
  bool RegisterPushClient(std::uint32_t id, std::shared_ptr<PushPipe> pipe) {
    pushClients.put(id, std::move(pipe));
    return true;
  }
  void UnregisterPushClient(std::uint32_t id) { pushClients.remove(id); }
  void TouchPushClient(std::uint32_t id) { pushClients.touch(id); }
  std::uint32_t PushClientCount() { return pushClients.count(); }

  // Writes one notification to every registered client, in ascending order of their ids, and drops
  // those that cannot be reached. `clientId` is the client whose request is answered; `payload`
  // may be null. True if at least one client received it whole. Callable from any thread; of two
  // broadcasts at once, one client may hear the one first and another the other. Waits two seconds
  // in all for clients that do not read, and then 50 ms for each further one, see WatchedThread.
  bool BroadcastPush(std::uint32_t clientId, std::uint32_t type, const void* payload,
                     std::uint32_t payloadLength);

  // Who owns the acceleration. Used by request handlers and notifiers, without a lock.
  AccelerationOwnership ownership;

 private:
  friend class PipeServerInspector;  // Lets tests look at the fields below.

  void RequestAcceptLoop();
  void ConnectionLoop(win32::UniqueFileHandle pipe);
  void PushAcceptLoop();
  DWORD PushClientThread(win32::UniqueFileHandle pipe);
  void SupervisorLoop();

  void restartEmptySlots();
  bool hasThreads() const;
  void abandonTables();

  std::wstring requestPipeName;
  std::wstring pushPipeName;
  std::atomic<bool> running = false;

  std::thread requestAcceptThread;
  std::thread pushAcceptThread;
  std::thread supervisorThread;

  // One entry for each request connection ever accepted; never removed, joined or detached.
  std::vector<std::thread> connectionThreads;
  std::mutex connectionThreadsMutex;

  // The server's ends of the request connections that are open now; each is closed by its own
  // connection loop.
  std::set<HANDLE> requestPipes;
  std::mutex requestPipesMutex;

  MessageHandler messageHandler;

  PushClientTable pushClients;

  // monotonicMs of the start or the latest request. Kept for whoever looks at the process with a
  // debugger; nothing in the service decides by it.
  std::atomic<std::int64_t> lastActivityMs = 0;

  // Manual reset; created by the first start and never closed, because threads wait on it until
  // the process ends.
  HANDLE stopEvent = nullptr;
};

// The server started last; start sets it and nothing clears it. Result callbacks of the library
// reach the server through it.
extern std::atomic<PipeServer*> currentPipeServer;

}  // namespace orva_accelerator::ipc
