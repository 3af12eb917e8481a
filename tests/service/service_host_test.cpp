// The service's life from the manager's start to the end of the process. Most of these lives end
// the process, so each is led in a process of its own and told by what it wrote.
#include "service/service_host.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <exception>

#include "ipc/wire/pipe_names.h"
#include "tests/service/host_stage.h"
#include "tests/support/bounded_wait.h"
#include "tests/support/pipe_server_inspector.h"
#include "tests/support/thread_shortage.h"

namespace orva_accelerator::service {

class ServiceHostInspector {
 public:
  static ipc::PipeServer* owned() { return ServiceHost::instance().pipeServerOwner.get(); }
  static ipc::PipeServer* watched() { return ServiceHost::instance().pipeServer; }
  static std::string status() {
    const auto& status = ServiceHost::instance().serviceStatus;
    return std::to_string(status.state) + ", " + std::to_string(status.waitHintMs);
  }
};

}  // namespace orva_accelerator::service

namespace orva_accelerator::service::test {
namespace {

using ipc::currentPipeServer;
using orva_accelerator::test::waitUntil;
using testing::AllOf;
using testing::ExitedWithCode;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

// std::terminate, by way of abort.
constexpr int kTerminated = 3;

constexpr char kComesUp[] =
    "RegisterServiceCtrlHandlerW(OrvaAcceleratorService, serviceControlHandler)\n"
    "SetServiceStatus(status handle, {16, 2, 5, 0, 0, 0, 0})\n"
    "CreateEventA(null, 1, 0, null)\n"
    "CreateEventA(null, 1, 0, null)\n"
    "SetServiceStatus(status handle, {16, 4, 5, 0, 0, 0, 0})\n"
    "SetPriorityClass(this process, 128)\n";
constexpr char kWaits[] = "WaitForSingleObject(service's event, 1000)\n";
constexpr char kTakesTheStop[] =
    "SetEvent(service's event)\n"
    "SetServiceStatus(status handle, {16, 3, 5, 0, 0, 0, 3000})\n";
// Stops the server, lets its end be no crash on top of the mode that is there, and destroys it,
// which stops it again.
constexpr char kTakesTheServerDown[] =
    "SetEvent(server's event)\n"
    "SetErrorMode(32770)\n"
    "SetEvent(server's event)\n";

std::string joined(std::initializer_list<const char*> parts) {
  std::string all;
  for (const char* part : parts) all += part;
  return all;
}

auto reportsStopped() {
  return HasSubstr("SetServiceStatus(status handle, {16, 1,");
}

// A wait during which `event` happens and that ends without the service's event.
HostStage::Wait timesOutAfter(std::function<void()> event) {
  return [event = std::move(event)]() -> DWORD {
    event();
    return WAIT_TIMEOUT;
  };
}

// Makes destroying a started server possible, which nothing else does.
void letThreadsGo(ipc::PipeServer& server) {
  ipc::PipeServerInspector inspector(server);
  inspector.requestAcceptThread().detach();
  inspector.pushAcceptThread().detach();
  inspector.supervisorThread().detach();
}

// Lives as long as the server.
std::weak_ptr<ipc::PushPipe> markWithAPushClient(ipc::PipeServer* server) {
  auto pipe = std::make_shared<ipc::PushPipe>(win32::UniqueFileHandle());
  server->RegisterPushClient(1, pipe);
  return pipe;
}

HostStage::Wait returns(DWORD result) {
  return [result] { return result; };
}

HostStage::Wait timesOutAfterControl(DWORD code) {
  return timesOutAfter([code] { HostStage::control(code); });
}

TEST(ServiceMain, ReturnsWithoutAReportWhenItsHandlerCannotBeRegistered) {
  EXPECT_EXIT(
      {
        HostStage stage;
        stage.refuseRegistration();
        serviceMain(0, nullptr);
        HostStage::returned();
      },
      ExitedWithCode(HostStage::kReturned),
      StartsWith("RegisterServiceCtrlHandlerW(OrvaAcceleratorService, serviceControlHandler)\n"
                 "returned\n"));
}

TEST(ServiceMain, ReportsStoppedAndReturnsWhenItsEventCannotBeCreated) {
  EXPECT_EXIT(
      {
        HostStage stage;
        stage.refuseEvent(1);
        serviceMain(0, nullptr);
        if (ServiceHostInspector::owned() != nullptr) HostStage::say("there is a server");
        HostStage::returned();
      },
      ExitedWithCode(HostStage::kReturned),
      StartsWith("RegisterServiceCtrlHandlerW(OrvaAcceleratorService, serviceControlHandler)\n"
                 "SetServiceStatus(status handle, {16, 2, 5, 0, 0, 0, 0})\n"
                 "CreateEventA(null, 1, 0, null)\n"
                 "SetServiceStatus(status handle, {16, 1, 5, 0, 0, 0, 0})\n"
                 "returned\n"));
}

TEST(ServiceMain, GoesFromStartPendingToStoppedWhenTheServerCannotStart) {
  EXPECT_EXIT(
      {
        HostStage stage;
        stage.refuseEvent(2);
        serviceMain(0, nullptr);
        HostStage::returned();
      },
      ExitedWithCode(HostStage::kReturned),
      StartsWith("RegisterServiceCtrlHandlerW(OrvaAcceleratorService, serviceControlHandler)\n"
                 "SetServiceStatus(status handle, {16, 2, 5, 0, 0, 0, 0})\n"
                 "CreateEventA(null, 1, 0, null)\n"
                 "CreateEventA(null, 1, 0, null)\n"
                 "SetServiceStatus(status handle, {16, 1, 5, 0, 0, 0, 0})\n"
                 "returned\n"));
}

TEST(ServiceMain, LeavesAServerThatDidNotStartWhereItIs) {
  EXPECT_EXIT(
      {
        HostStage stage;
        stage.refuseEvent(2);
        serviceMain(0, nullptr);
        ipc::PipeServer* const server = ServiceHostInspector::owned();
        if (server != nullptr && server == ServiceHostInspector::watched()) HostStage::returned();
      },
      ExitedWithCode(HostStage::kReturned), HasSubstr("returned\n"));
}

TEST(ServiceMain, ReportsRunningWithoutTheWaitHintOfAStopThatCameEarly) {
  EXPECT_EXIT(
      {
        HostStage stage;
        stage.onServerEvent([] { HostStage::control(SERVICE_CONTROL_STOP); });
        serviceMain(0, nullptr);
      },
      ExitedWithCode(kTerminated),
      HasSubstr(joined({kTakesTheStop,
                        "CreateEventA(null, 1, 0, null)\n"
                        "SetServiceStatus(status handle, {16, 4, 5, 0, 0, 0, 0})\n"
                        "SetPriorityClass(this process, 128)\n",
                        kWaits, kTakesTheServerDown})));
}

// Whatever name the manager passes on.
TEST(ServiceMain, DoesNotLookAtItsArguments) {
  EXPECT_EXIT(
      {
        HostStage stage;
        stage.onWaits({returns(WAIT_OBJECT_0)});
        std::wstring name = L"AnotherService";
        wchar_t* arguments[] = {name.data()};
        serviceMain(1, arguments);
      },
      ExitedWithCode(kTerminated), StartsWith(joined({kComesUp, kWaits, kTakesTheServerDown})));
}

TEST(ServiceMain, EndsTheProcessWhenTheServerHasNoThreads) {
  EXPECT_EXIT(
      {
        HostStage stage;
        const orva_accelerator::test::ThreadShortage shortage;
        []() noexcept { serviceMain(0, nullptr); }();
        HostStage::returned();
      },
      ExitedWithCode(kTerminated), Not(reportsStopped()));
}

TEST(ServiceMain, StopsAndDestroysTheServerAndEndsTheProcessThereOnAStopOrAShutdown) {
  for (const int code : {SERVICE_CONTROL_STOP, SERVICE_CONTROL_SHUTDOWN}) {
    EXPECT_EXIT(
        {
          HostStage stage;
          stage.onWaits({timesOutAfterControl(static_cast<DWORD>(code))});
          serviceMain(0, nullptr);
        },
        ExitedWithCode(kTerminated),
        AllOf(StartsWith(joined({kComesUp, kWaits, kTakesTheStop, kWaits, kTakesTheServerDown})),
              Not(reportsStopped())))
        << code;
  }
}

TEST(ServiceMain, ReportsEveryStopAlike) {
  EXPECT_EXIT(
      {
        HostStage stage;
        stage.onWaits({timesOutAfter([] {
          HostStage::control(SERVICE_CONTROL_STOP);
          HostStage::control(SERVICE_CONTROL_STOP);
          HostStage::control(SERVICE_CONTROL_SHUTDOWN);
        })});
        serviceMain(0, nullptr);
      },
      ExitedWithCode(kTerminated),
      StartsWith(joined({kComesUp, kWaits, kTakesTheStop, kTakesTheStop, kTakesTheStop, kWaits,
                         kTakesTheServerDown})));
}

TEST(ServiceMain, LetsGoOfTheServerBeforeItDestroysIt) {
  EXPECT_EXIT(
      {
        HostStage stage;
        stage.onWaits({returns(WAIT_OBJECT_0)});
        std::set_terminate([] {
          if (ServiceHostInspector::watched() == nullptr) HostStage::returned();
          std::abort();
        });
        serviceMain(0, nullptr);
      },
      ExitedWithCode(HostStage::kReturned), HasSubstr(kTakesTheServerDown));
}

TEST(ServiceMain, WaitsAgainAfterATimeOutAndAfterAFailedWait) {
  EXPECT_EXIT(
      {
        HostStage stage;
        stage.onWaits({returns(WAIT_TIMEOUT), returns(WAIT_FAILED), returns(WAIT_ABANDONED),
                       returns(WAIT_OBJECT_0)});
        serviceMain(0, nullptr);
      },
      ExitedWithCode(kTerminated),
      StartsWith(joined({kComesUp, kWaits, kWaits, kWaits, kWaits, kTakesTheServerDown})));
}

TEST(ServiceMain, EndsWithoutStopPendingWhenTheServerStopsRunning) {
  EXPECT_EXIT(
      {
        HostStage stage;
        stage.onWaits({timesOutAfter([] { currentPipeServer.load()->stop(); })});
        serviceMain(0, nullptr);
      },
      ExitedWithCode(kTerminated),
      // The first signal is the server's own; the service then waits no more.
      AllOf(
          StartsWith(joined({kComesUp, kWaits, "SetEvent(server's event)\n", kTakesTheServerDown})),
          Not(HasSubstr("SetServiceStatus(status handle, {16, 3,"))));
}

TEST(ServiceMain, DoesNotWaitForAServerThatHasStoppedAlready) {
  EXPECT_EXIT(
      {
        HostStage stage;
        stage.inside("SetPriorityClass(this process, 128)",
                     [] { currentPipeServer.load()->stop(); });
        serviceMain(0, nullptr);
      },
      ExitedWithCode(kTerminated),
      StartsWith(joined({kComesUp, "SetEvent(server's event)\n", kTakesTheServerDown})));
}

TEST(ServiceMain, ReportsStoppedClosesItsEventAndExitsWhenDestructionReturns) {
  EXPECT_EXIT(
      {
        HostStage stage;
        stage.onWaits({timesOutAfter([] {
          HostStage::control(SERVICE_CONTROL_STOP);
          letThreadsGo(*currentPipeServer.load());
        })});
        (void)std::atexit([] { HostStage::say("exit handlers run"); });
        serviceMain(0, nullptr);
        HostStage::returned();
      },
      ExitedWithCode(0),
      StartsWith(joined({kComesUp, kWaits, kTakesTheStop, kWaits, kTakesTheServerDown,
                         "SetServiceStatus(status handle, {16, 1, 5, 0, 0, 0, 3000})\n"
                         "CloseHandle(service's event)\n"
                         "exit handlers run\n"})));
}

TEST(ServiceMain, RunsOnWhenItsPriorityCannotBeRaisedAndItsReportsAreRefused) {
  EXPECT_EXIT(
      {
        HostStage stage;
        stage.refusePriority();
        stage.refuseReports();
        stage.onWaits({returns(WAIT_OBJECT_0)});
        serviceMain(0, nullptr);
      },
      ExitedWithCode(kTerminated), StartsWith(joined({kComesUp, kWaits, kTakesTheServerDown})));
}

TEST(ServiceMain, StartsTheServerOnTheTwoPipes) {
  EXPECT_EXIT(
      {
        HostStage stage;
        stage.showPipeNames();
        stage.onWaits({[&stage]() -> DWORD {
          const bool tried = waitUntil([&stage] { return stage.triedBothPipes(); });
          const ipc::PipeServerInspector server(*currentPipeServer.load());
          const bool inOrder = server.requestPipeName() == ipc::kRequestPipeName;
          HostStage::say(tried && inOrder ? "each for its own" : "otherwise");
          return WAIT_OBJECT_0;
        }});
        serviceMain(0, nullptr);
      },
      ExitedWithCode(kTerminated),
      AllOf(HasSubstr("pipe \\\\.\\pipe\\OrvaAccelerator_Request\n"),
            HasSubstr("pipe \\\\.\\pipe\\OrvaAccelerator_Push\n"),
            HasSubstr("each for its own\n")));
}

TEST(ServiceMain, PutsANewServerInPlaceOfOneThatDidNotStartWhenItRunsAgain) {
  EXPECT_EXIT(
      {
        {
          HostStage stage;
          stage.refuseEvent(2);
          serviceMain(0, nullptr);
        }
        const std::weak_ptr<ipc::PushPipe> mark =
            markWithAPushClient(ServiceHostInspector::owned());
        if (mark.expired()) HostStage::say("the old server is gone too early");
        HostStage stage;
        stage.onWaits({timesOutAfter([mark] {
          if (!mark.expired()) HostStage::say("the old server is still there");
          HostStage::control(SERVICE_CONTROL_STOP);
        })});
        serviceMain(0, nullptr);
      },
      ExitedWithCode(kTerminated),
      HasSubstr(joined({"SetServiceStatus(status handle, {16, 1, 5, 0, 0, 0, 0})\n", kComesUp,
                        kWaits, kTakesTheStop, kWaits, kTakesTheServerDown})));
}

TEST(ServiceMain, LetsExitReachItsCodeWhileTheServerRuns) {
  EXPECT_EXIT(
      {
        HostStage stage;
        stage.onWaits({timesOutAfter([] { std::exit(-1); })});
        serviceMain(0, nullptr);
      },
      ExitedWithCode(-1), StartsWith(joined({kComesUp, kWaits})));
}

TEST(ServiceControlHandler, ReportsNothingForAnyOtherControl) {
  HostStage stage;
  testing::internal::CaptureStderr();
  for (DWORD code = 0; code <= 0x100; ++code) {
    if (code != SERVICE_CONTROL_STOP && code != SERVICE_CONTROL_SHUTDOWN) {
      serviceControlHandler(code);
    }
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(ServiceControlHandler, EntersTheStateBeforeItSignals) {
  EXPECT_EXIT(
      {
        HostStage stage;
        stage.inside("SetEvent(service's event)",
                     [] { HostStage::say("in " + ServiceHostInspector::status()); });
        stage.onWaits({timesOutAfterControl(SERVICE_CONTROL_STOP)});
        serviceMain(0, nullptr);
      },
      ExitedWithCode(kTerminated), HasSubstr("SetEvent(service's event)\nin 3, 3000\n"));
}

TEST(ServiceControlHandler, ReportsAStopThatComesBeforeTheEventExists) {
  EXPECT_EXIT(
      {
        HostStage stage;
        serviceControlHandler(SERVICE_CONTROL_STOP);
        HostStage::returned();
      },
      ExitedWithCode(HostStage::kReturned),
      StartsWith("SetServiceStatus(another handle, {16, 3, 5, 0, 0, 0, 3000})\n"
                 "returned\n"));
}

}  // namespace
}  // namespace orva_accelerator::service::test
