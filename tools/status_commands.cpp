// status, owner, heartbeat: how the service is.
#include "tools/commands.h"

namespace orva_accelerator::tools {
namespace {

int RunStatus(Context& context) {
  auto service = context.Connect();
  if (!service) return context.Fail(service.error());
  auto initialised = service.value().IsInitialised();
  if (!initialised) return context.Fail(initialised.error());
  auto owner = service.value().QueryOwner();
  if (!owner) return context.Fail(owner.error());
  Json record{{"initialised", initialised.value()}};
  record.update(ToJson(*owner.value()));
  context.Print("status", record);
  return kExitOk;
}

int RunHeartbeat(Context& context) {
  auto service = context.Connect();
  if (!service) return context.Fail(service.error());
  auto clock = service.value().Heartbeat();
  if (!clock) return context.Fail(clock.error());
  context.Print("heartbeat", Json{{"serviceClockMs", clock.value()}});
  return kExitOk;
}

int RunOwner(Context& context) {
  return AskAndPrint(context, "owner",
                     [](client::ServiceClient& service) { return service.QueryOwner(); });
}

}  // namespace

void AddStatusCommands(CLI::App& app, Context& context) {
  const auto add = [&](const char* name, const char* help, int (*run)(Context&)) {
    app.add_subcommand(name, help)->callback([&context, run] {
      context.action = [&context, run] { return run(context); };
    });
  };
  add("status", "Whether the library is initialised and who accelerates", RunStatus);
  add("owner", "Whether there is an acceleration and whether it is this client's", RunOwner);
  add("heartbeat", "Ask the service for its clock", RunHeartbeat);
}

}  // namespace orva_accelerator::tools
