// The one client of the benchmark. scripts/bench.sh runs it.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <string>

#include "bench/client/rows.h"
#include "bench/client/service_start.h"
#include "ipc/wire/pipe_names.h"
#include "win32/utf8.h"

namespace orva_accelerator::bench {
namespace {

constexpr wchar_t kService[] = L"OrvaAcceleratorService";

Server floorCalled(const std::string& name, const std::wstring& pipe, unsigned processId) {
  return {name, L"\\\\.\\pipe\\" + pipe + L"_Request", L"\\\\.\\pipe\\" + pipe + L"_Push",
          processId};
}

int run(int argc, char** argv) {
  CLI::App app("Measures the service against the smallest server of its wire behaviour.");
  app.require_subcommand(1);
  std::string folder = ".";

  CLI::App* const start =
      app.add_subcommand("start", "Start the installed service and an empty one, and time them");
  int repeats = 20;
  std::string emptyPath;
  start->add_option("--out", folder, "Folder for start.json");
  start->add_option("--repeats", repeats)->check(CLI::PositiveNumber);
  start->add_option("--empty", emptyPath, "Path of the empty service")->required();

  CLI::App* const handles = app.add_subcommand("handles", "Count what both services hold");
  handles->add_option("--out", folder, "Folder for handles.json");

  CLI::App* const idle = app.add_subcommand("idle", "Do nothing for ever");

  CLI::App* const measure = app.add_subcommand("measure", "Measure floors and service");
  Plan plan;
  std::vector<unsigned> processIds;
  measure->add_option("--out", folder, "Folder for the results");
  measure->add_option("--rounds", plan.rounds)->check(CLI::PositiveNumber);
  measure->add_option("--requests", plan.requests, "Round trips of a slot, at least");
  measure->add_option("--window", plan.window, "Requests under way at a time; 0: all connections");
  measure->add_option("--connections", plan.connections, "Growing")->delimiter(',');
  measure->add_option("--push-clients", plan.pushClients, "Growing")->delimiter(',');
  measure->add_option("--finished", plan.finishedConnections);
  measure->add_option("--scenario", plan.scenarioPath, "The simulated library's file")->required();
  measure
      ->add_option("--processes", processIds,
                   "The host's process ids of floor A, floor B, service, Wine server")
      ->delimiter(',')
      ->expected(4)
      ->required();
  CLI11_PARSE(app, argc, argv);

  if (idle->parsed()) {
    Sleep(INFINITE);
  } else if (start->parsed()) {
    measureServiceStarts(kService, win32::wideFromUtf8(emptyPath).value_or(L""), repeats, folder);
  } else if (handles->parsed()) {
    countServiceHandles(kService, folder);
  } else {
    plan.servers = {floorCalled("floor A", L"OrvaBenchFloorA", processIds[0]),
                    floorCalled("floor B", L"OrvaBenchFloorB", processIds[1]),
                    {"service", ipc::kRequestPipeName, ipc::kPushPipeName, processIds[2]}};
    plan.wineServerProcessId = processIds[3];
    Report report(folder);
    measureRequests(plan, report);
    measureConnecting(plan, report);
    measureQueries(plan, report);
    measurePushes(plan, report);
    measureFinishedConnections(plan, report);
    report.write();
  }
  return 0;
}

}  // namespace
}  // namespace orva_accelerator::bench

int main(int argc, char** argv) {
  try {
    return orva_accelerator::bench::run(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "orva_bench_client: %s\n", error.what());
    return 1;
  }
}
