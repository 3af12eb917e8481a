// data: the figures of the acceleration, once or as a live view.
#include <memory>

#include "tools/commands.h"
#include "tools/interrupt.h"
#include "tools/live_figures.h"
#include "tools/options_parsing.h"

namespace orva_accelerator::tools {
namespace {

using std::chrono::milliseconds;

struct DataOptions {
  milliseconds every{0};    // 0: once.
  std::uint32_t count = 0;  // 0: until Ctrl+C.
};

// On a terminal the view stays in its place; elsewhere the views follow each other.
void show(Context& context, const LiveFigures& figures, std::uint32_t shown) {
  if (context.console.outTakesEscapes()) {
    const char* home = shown == 0 ? "\x1b[2J\x1b[H" : "\x1b[H\x1b[J";
    context.console.out(home + figures.text() + "\nCtrl+C ends this view.\n");
  } else {
    context.console.out((shown == 0 ? "" : "\n") + figures.text());
  }
}

int runLive(Context& context, const DataOptions& options) {
  auto service = context.connect();
  if (!service) return context.fail(service.error());
  const HANDLE interrupt = interruptEvent();  // From here on Ctrl+C ends this function.
  LiveFigures figures;
  for (std::uint32_t shown = 0;; ++shown) {
    auto data = service.value().query<ipc::MsgGetAccelData>();
    if (!data) return context.fail(data.error());
    if (context.options.json) {
      context.print("data", toJson(*data.value()));
    } else {
      figures.add(toJson(*data.value(), LongNumbers::AsNumbers));
      show(context, figures, shown);
    }
    if (context.console.outFailed()) return ExitOther;
    if (options.count != 0 && shown + 1 == options.count) return ExitOk;
    if (interruptedWithin(interrupt, options.every)) return ExitOk;
  }
}

int runOnce(Context& context) {
  return queryAndPrint<ipc::MsgGetAccelData>(context, "data");
}

}  // namespace

void addDataCommand(CLI::App& app, Context& context) {
  auto options = std::make_shared<DataOptions>();
  CLI::App* data = app.add_subcommand("data", "The figures of the acceleration");
  CLI::Option* every = addDuration(*data, "--every", options->every, std::chrono::seconds(1),
                                   "Refresh a live view until Ctrl+C; a bare number is seconds");
  data->add_option("--count", options->count, "End the live view after so many refreshes")
      ->needs(every);
  whenChosen(*data, context, [options](Context& chosen) {
    return options->every.count() == 0 ? runOnce(chosen) : runLive(chosen, *options);
  });
}

}  // namespace orva_accelerator::tools
