// service start|stop|restart|status|wait: the service's life through the service control manager.
#include <memory>
#include <string>

#include "client/service_control.h"
#include "client/service_errors.h"
#include "tools/commands.h"
#include "tools/doctor/service_facts.h"
#include "tools/interrupt.h"

namespace orva_accelerator::tools {
namespace {

// A start waits for a new process, and a stop for one that may be inside the library; both take
// longer than a request.
constexpr std::chrono::milliseconds kPatience{30000};

struct ServiceOptions {
  const CLI::Option* timeout = nullptr;  // The global option: its default is meant for requests.
};

client::Deadline deadlineOf(const Context& context, const ServiceOptions& options) {
  return client::Deadline::after(options.timeout->count() == 0 ? kPatience
                                                               : context.options.timeout);
}

int tell(Context& context, const char* command,
         const client::Result<client::ServiceStarted>& started) {
  if (!started) return context.fail(started.error());
  const client::ServiceStarted& service = started.value();
  if (context.options.json) {
    context.print(command, Json{{"running", true},
                                {"wasRunning", service.wasRunning},
                                {"processId", service.processId}});
  }
  context.say(
      (service.wasRunning ? "The service runs already, process " : "The service runs, process ") +
      std::to_string(service.processId) + ".");
  return ExitOk;
}

int tell(Context& context, const char* command,
         const client::Result<client::ServiceStopped>& stopped) {
  if (!stopped) return context.fail(stopped.error());
  const client::ServiceStopped& service = stopped.value();
  if (context.options.json) {
    Json record{{"running", false}, {"wasRunning", service.wasRunning}};
    if (service.exitCode) record["exitCode"] = *service.exitCode;
    context.print(command, record);
  }
  context.say(service.wasRunning ? "The service has ended." : "The service does not run.");
  return ExitOk;
}

int restart(Context& context, const ServiceOptions& options) {
  const HANDLE interrupt = interruptEvent();
  const std::wstring& name = context.options.request.serviceName;
  const auto stopped = stopAndWait(name, deadlineOf(context, options), interrupt);
  if (!stopped) return context.fail(stopped.error());
  const auto started = startAndWait(name, deadlineOf(context, options), interrupt);
  if (!started) return context.fail(started.error());
  const std::uint32_t process = started.value().processId;
  if (context.options.json) {
    context.print("service restart", Json{{"running", true},
                                          {"wasRunning", stopped.value().wasRunning},
                                          {"processId", process}});
  }
  context.say("The service runs, process " + std::to_string(process) + ".");
  return ExitOk;
}

// The manager's word, corrected by whether the process is there.
const char* stateName(const ServiceFacts& facts) {
  if (!facts.status || !facts.processLives) return "stopped";
  switch (facts.status->dwCurrentState) {
    case SERVICE_RUNNING:
      return "running";
    case SERVICE_START_PENDING:
      return "starting";
    default:
      return "stopping";  // It is never paused.
  }
}

int status(Context& context) {
  const ServiceFacts facts = gatherServiceFacts(context.options.request.serviceName);
  if (!facts.registered()) {
    return context.fail(client::serviceError("ask for the state", facts.openError));
  }
  if (!facts.status) {
    return context.fail(client::serviceError("ask for the state", facts.statusError));
  }
  const char* state = stateName(facts);
  const DWORD process = facts.processLives ? facts.status->dwProcessId : 0;
  if (context.options.json) {
    context.print("service status",
                  Json{{"running", facts.running()}, {"state", state}, {"processId", process}});
  }
  context.say("The service is " + std::string(state) +
              (process == 0 ? "." : ", process " + std::to_string(process) + "."));
  return facts.running() ? ExitOk : ExitNoService;
}

void addOne(CLI::App& family, Context& context, const char* name, const char* help,
            std::function<int()> action) {
  family.add_subcommand(name, help)->callback([&context, action = std::move(action)] {
    context.action = action;
  });
}

void addWait(CLI::App& family, Context& context, const std::shared_ptr<ServiceOptions>& options) {
  auto state = std::make_shared<std::string>("running");
  CLI::App* wait =
      family.add_subcommand("wait", "Wait until somebody else has started or ended it");
  wait->add_option("STATE", *state, "running (the default) or ended")
      ->check(CLI::IsMember({"running", "ended"}));
  wait->callback([&context, options, state] {
    context.action = [&context, options, state] {
      const HANDLE interrupt = interruptEvent();
      const std::wstring& name = context.options.request.serviceName;
      const client::Deadline deadline = deadlineOf(context, *options);
      return *state == "ended"
                 ? tell(context, "service wait", waitUntilEnded(name, deadline, interrupt))
                 : tell(context, "service wait", waitUntilRunning(name, deadline, interrupt));
    };
  });
}

}  // namespace

void addServiceCommands(CLI::App& app, Context& context) {
  auto options = std::make_shared<ServiceOptions>();
  options->timeout = app.get_option("--timeout");
  CLI::App* family = app.add_subcommand(
      "service", "Start or stop the Windows service and wait until it is so, or ask for its state");
  family->require_subcommand(1);
  addOne(*family, context, "start", "Start it, and wait until it runs", [&context, options] {
    const HANDLE interrupt = interruptEvent();
    return tell(context, "service start",
                startAndWait(context.options.request.serviceName, deadlineOf(context, *options),
                             interrupt));
  });
  addOne(*family, context, "stop", "Stop it, and wait until its process has ended",
         [&context, options] {
           const HANDLE interrupt = interruptEvent();
           return tell(context, "service stop",
                       stopAndWait(context.options.request.serviceName,
                                   deadlineOf(context, *options), interrupt));
         });
  addOne(*family, context, "restart", "Stop it if it runs, and start it",
         [&context, options] { return restart(context, *options); });
  addOne(*family, context, "status", "Say whether it runs; 3 is the exit code when it does not",
         [&context] { return status(context); });
  addWait(*family, context, options);
}

}  // namespace orva_accelerator::tools
