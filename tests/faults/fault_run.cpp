// usage: fault_run FUNCTION CALL
//
// Runs the service in this process through a start, 20 requests, 3 notifications, one look around
// of the supervisor and a stop, while the given call of the given function fails. Says what its
// clients saw in lines of a name and a number, and ends as the service does: a stop ends the
// process. Exit codes of its own: 42 the service never ran, 98 the stop did not end the process,
// 99 something that cannot be put into a number.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <thread>

#include "ipc/wire/messages.h"
#include "ipc/wire/requests.h"
#include "service/service_host.h"
#include "tests/faults/fault_stage.h"
#include "tests/faults/persistent_client.h"
#include "tests/support/running_server.h"
#include "win32/detached_thread.h"

namespace orva_accelerator::test {
namespace {

constexpr DWORD kServiceNeverRan = 42;
constexpr DWORD kStopDidNotEnd = 98;
constexpr DWORD kBroken = 99;
// For runs in which an answer gets lost: long enough for any answer that comes.
constexpr std::chrono::milliseconds kLostAnswerPatience{2500};

[[noreturn]] void end(DWORD code) {
  (void)std::fflush(nullptr);  // What cannot be written now cannot be written at all.
  (void)TerminateProcess(GetCurrentProcess(), code);
  std::abort();  // Not reached.
}

[[noreturn]] void endBroken(const char* what) {
  (void)std::fprintf(stderr, "%s\n", what);
  end(kBroken);
}

void say(const char* name, std::size_t number) {
  (void)std::printf("%s %zu\n", name, number);
}

template <typename Fixed>
Bytes withTexts(const Fixed& fixed, std::string_view texts) {
  Bytes bytes(sizeof fixed);
  std::memcpy(bytes.data(), &fixed, sizeof fixed);
  bytes.insert(bytes.end(), texts.begin(), texts.end());
  return bytes;
}

struct Request {
  std::uint32_t type;
  Bytes payload;
  std::size_t leastAnswer;
};

// All but the initialisation, which is asked for ahead of them.
std::vector<Request> requests() {
  const Bytes game = withTexts(ipc::GameRequest{1001}, "");
  const Bytes start = withTexts(ipc::StartAccelRequest{1, 2, 6, 0, 3, 7, 0}, "east-1101;102");
  const Bytes startEx = withTexts(ipc::StartAccelExRequest{{1, 2, 6, 0, 3, 4, 0}, 4}, "east-1auto");
  return {
      {ipc::MsgSdkIsInitialised, {}, 1},
      {ipc::MsgUserLogin, withTexts(ipc::UserLoginRequest{6, 6}, "playersecret"), 4},
      {ipc::MsgHeartbeat, {}, 4},
      {ipc::MsgStartAccel, start, 1},
      {ipc::MsgQueryAccelOwner, {}, 2},
      {ipc::MsgGetAccelData, {}, 48},
      {ipc::MsgGetConsoleData, {}, 28},
      {ipc::MsgGetGameLastAccelInfo, game, 24},
      {ipc::MsgGetGameAccelInfo, game, 64},
      {ipc::MsgGetTestSpeedData, withTexts(ipc::TestSpeedRequest{1, 2, 6, 0, 3}, "server"), 60},
      {ipc::MsgGetGameUsedNodeList, game, 8},
      {ipc::MsgHeartbeat, Bytes(5000), 4},
      {ipc::MsgStopAccel, {}, 1},
      {ipc::MsgStartAccelEx, startEx, 1},
      {ipc::MsgQueryAccelOwner, {}, 2},
      {0x9999, {}, 0},
      {ipc::MsgHeartbeat, Bytes(20'000), 4},
      {ipc::MsgSdkIsInitialised, {}, 1},
      {ipc::MsgHeartbeat, {}, 4},
  };
}

class Session {
 public:
  explicit Session(FaultStage& stage)
      : stage_(stage),
        client_(stage.requestPipe(), 7, patience()),
        other_(stage.requestPipe(), 8, patience()),
        push_{{stage.pushPipe(), 7}, {stage.pushPipe(), 8}} {}

  void run() {
    for (auto& push : push_) {
      if (!push.beRegistered()) endBroken("a push client cannot register");
    }
    initialise();
    for (const Request& request : requests()) {
      const auto answer = client_.ask(request.type, request.payload);
      if (answer && answer->size() >= request.leastAnswer) ++answered_;
    }
    notify([this] { stage_.kernel().loginCompletion()(nullptr, 0, nullptr); });
    notify([this] {
      const sdk::KernelAccelResult result = {1, 2, L"text", 3, 4, 4, 5, nullptr};
      stage_.kernel().accelCompletion()(nullptr, nullptr, &result);
    });
    notify([this] { stage_.kernel().stopCompletion()(nullptr, 0, nullptr); });
    if (!stage_.runSupervisor()) endBroken("the supervisor did not come back");
    if (other_.ask(ipc::MsgHeartbeat)) say("other", 1);
    leave();
  }

  void report() const {
    say("answered", answered_);
    say("refused", refused_);
    say("notifications", notifications_);
    say("broken", client_.brokenConnections() + other_.brokenConnections() +
                      push_[0].brokenConnections() + push_[1].brokenConnections());
  }

 private:
  std::chrono::milliseconds patience() const {
    return stage_.fault().isOf("WriteFile") ? kLostAnswerPatience : kPatience;
  }

  void initialise() {
    const Bytes init = withTexts(ipc::SdkInitRequest{1, 2, 8, 0}, "official");
    for (int attempt = 0; attempt < 3; ++attempt) {
      const auto answer = client_.ask(ipc::MsgSdkInit, init);
      if (answer && *answer == Bytes{1, 0, 0, 0}) {
        ++answered_;
        return;
      }
      if (answer && *answer == Bytes{0xFF, 0xFF, 0xFF, 0xFF}) ++refused_;
    }
  }

  template <typename Completion>
  void notify(Completion completion) {
    for (auto& push : push_) {
      if (!push.beRegistered()) endBroken("a push client cannot register again");
    }
    std::thread(completion).join();
    for (auto& push : push_) {
      if (push.receives()) ++notifications_;
    }
  }

  // What stays open then is what listens for the next two clients.
  void leave() {
    client_.leave();
    other_.leave();
    for (auto& push : push_) push.leave();
    const bool forgotten = waitUntil([this] {
      std::thread([this] { stage_.kernel().loginCompletion()(nullptr, 0, nullptr); }).join();
      return ipc::currentPipeServer.load()->PushClientCount() == 0;
    });
    if (!forgotten) endBroken("push clients that have gone are still registered");
    (void)waitUntil([this] { return stage_.openPipes() == 2; });  // The test looks at the number.
  }

  FaultStage& stage_;
  PersistentRequestClient client_;
  PersistentRequestClient other_;
  PersistentPushClient push_[2];
  std::size_t answered_ = 0;
  std::size_t refused_ = 0;
  std::size_t notifications_ = 0;
};

void scriptLibrary(FakeKernel& kernel) {
  kernel.Kernel_GetAccelData = [](sdk::AccelDataRecord* record) -> sdk::KernelBool {
    record->text3[0] = L'节';
    record->text3[1] = L'点';
    return 1;
  };
  kernel.Kernel_GetConsoleData = [](sdk::ConsoleDataRecord*) -> sdk::KernelBool { return 1; };
}

void runSession(FaultStage& stage) {
  // A channel without its access list is never there; a client of it would wait in vain.
  if (stage.fault().isOf("ConvertStringSecurityDescriptorToSecurityDescriptorW")) {
    (void)waitUntil([&] { return stage.fault().hasStruck(); },
                    std::chrono::seconds(1));  // It may have been the call of no thread.
    return;
  }
  Session session(stage);
  session.run();
  session.report();
}

[[noreturn]] void run(const std::string& function, std::size_t call) {
  FaultStage& stage = *new FaultStage(function, call);  // For ever: threads go on using it.
  scriptLibrary(stage.kernel());
  std::atomic<bool> returned{false};
  win32::startDetachedThread([&returned] {
    service::serviceMain(0, nullptr);
    returned = true;
  });
  if (!waitUntil([&] { return returned || stage.reportedState() == SERVICE_RUNNING; })) {
    endBroken("the service neither runs nor gives up");
  }
  if (!returned) runSession(stage);
  say("state", stage.reportedState());
  say("retries", stage.retries());
  say("pipes", stage.openPipes());
  say("processes", stage.openProcesses());
  say("unsecured", stage.madeUnsecuredPipe() ? 1 : 0);
  say("finished", 1);
  (void)std::fflush(stdout);  // A report that is missing fails the test.
  if (returned) end(kServiceNeverRan);
  win32::startDetachedThread([] { service::serviceControlHandler(SERVICE_CONTROL_STOP); });
  (void)waitUntil([] { return false; }, std::chrono::seconds(20));  // The process ends meanwhile.
  end(kStopDidNotEnd);
}

}  // namespace
}  // namespace orva_accelerator::test

int main(int argc, char** argv) {
  (void)SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
  if (argc != 3) return 2;
  (void)std::puts("begun 1");  // A report that is missing fails the test.
  (void)std::fflush(stdout);
  orva_accelerator::test::run(argv[1], std::strtoull(argv[2], nullptr, 10));
}
