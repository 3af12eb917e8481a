// status, owner, heartbeat: how the service is.
#include "tools/commands.h"

namespace orva_accelerator::tools {
namespace {

int runStatus(Context& context) {
  auto service = context.connect();
  if (!service) return context.fail(service.error());
  auto initialised = service.value().IsInitialised();
  if (!initialised) return context.fail(initialised.error());
  auto owner = service.value().query<ipc::MsgQueryAccelOwner>();
  if (!owner) return context.fail(owner.error());
  Json record{{"initialised", initialised.value()}};
  record.update(toJson(*owner.value()));
  context.print("status", record);
  return ExitOk;
}

int runHeartbeat(Context& context) {
  auto service = context.connect();
  if (!service) return context.fail(service.error());
  auto clock = service.value().heartbeat();
  if (!clock) return context.fail(clock.error());
  context.print("heartbeat", Json{{"serviceClockMs", clock.value()}});
  return ExitOk;
}

int runOwner(Context& context) {
  return queryAndPrint<ipc::MsgQueryAccelOwner>(context, "owner");
}

}  // namespace

void addStatusCommands(CLI::App& app, Context& context) {
  const auto add = [&](const char* name, const char* help, int (*run)(Context&)) {
    whenChosen(*app.add_subcommand(name, help), context, run);
  };
  add("status", "Whether the library is initialised and who accelerates", runStatus);
  add("owner", "Whether there is an acceleration and whether it is this client's", runOwner);
  add("heartbeat", "Ask the service for its clock", runHeartbeat);
}

}  // namespace orva_accelerator::tools
