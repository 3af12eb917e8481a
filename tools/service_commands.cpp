// service start|stop|restart|status|wait: the service's life through the service control manager.
#include <memory>
#include <string>
#include <utility>

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
  context.report(
      command,
      Json{{"running", true}, {"wasRunning", service.wasRunning}, {"processId", service.processId}},
      (service.wasRunning ? "The service runs already, process " : "The service runs, process ") +
          std::to_string(service.processId) + ".");
  return ExitOk;
}

int tell(Context& context, const char* command,
         const client::Result<client::ServiceStopped>& stopped) {
  if (!stopped) return context.fail(stopped.error());
  const client::ServiceStopped& service = stopped.value();
  Json record{{"running", false}, {"wasRunning", service.wasRunning}};
  if (service.exitCode) record["exitCode"] = *service.exitCode;
  context.report(command, record,
                 service.wasRunning ? "The service has ended." : "The service does not run.");
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
  context.report(
      "service restart",
      Json{{"running", true}, {"wasRunning", stopped.value().wasRunning}, {"processId", process}},
      "The service runs, process " + std::to_string(process) + ".");
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
  context.report("service status",
                 Json{{"running", facts.running()}, {"state", state}, {"processId", process}},
                 "The service is " + std::string(state) +
                     (process == 0 ? "." : ", process " + std::to_string(process) + "."));
  return facts.running() ? ExitOk : ExitNoService;
}

// The whole of a command that waits with one function of the client library.
template <typename Outcome>
int await(Context& context, const ServiceOptions& options, const char* command,
          client::Result<Outcome> (*act)(const std::wstring&, const client::Deadline&, HANDLE)) {
  const HANDLE interrupt = interruptEvent();
  return tell(context, command,
              act(context.options.request.serviceName, deadlineOf(context, options), interrupt));
}

void addWait(CLI::App& family, Context& context, const std::shared_ptr<ServiceOptions>& options) {
  auto state = std::make_shared<std::string>("running");
  CLI::App* wait =
      family.add_subcommand("wait", "Wait until somebody else has started or ended it");
  wait->add_option("STATE", *state, "running (the default) or ended")
      ->check(CLI::IsMember({"running", "ended"}));
  whenChosen(*wait, context, [options, state](Context& chosen) {
    return *state == "ended" ? await(chosen, *options, "service wait", client::waitUntilEnded)
                             : await(chosen, *options, "service wait", client::waitUntilRunning);
  });
}

}  // namespace

void addServiceCommands(CLI::App& app, Context& context) {
  auto options = std::make_shared<ServiceOptions>();
  options->timeout = app.get_option("--timeout");
  CLI::App* family = app.add_subcommand(
      "service", "Start or stop the Windows service and wait until it is so, or ask for its state");
  family->require_subcommand(1);
  const auto add = [&](const char* name, const char* help, auto run) {
    whenChosen(*family->add_subcommand(name, help), context, std::move(run));
  };
  add("start", "Start it, and wait until it runs", [options](Context& chosen) {
    return await(chosen, *options, "service start", client::startAndWait);
  });
  add("stop", "Stop it, and wait until its process has ended", [options](Context& chosen) {
    return await(chosen, *options, "service stop", client::stopAndWait);
  });
  add("restart", "Stop it if it runs, and start it",
      [options](Context& chosen) { return restart(chosen, *options); });
  add("status", "Say whether it runs; 3 is the exit code when it does not", status);
  addWait(*family, context, options);
}

}  // namespace orva_accelerator::tools
