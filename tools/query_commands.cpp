// console, last, speed, game, nodes: what the library knows.
#include <memory>

#include "tools/commands.h"

namespace orva_accelerator::tools {
namespace {

template <ipc::MessageType Type>
void addGameCommand(CLI::App& app, Context& context, const char* name, const char* help) {
  auto gameId = std::make_shared<std::uint32_t>(0);
  CLI::App* command = app.add_subcommand(name, help);
  command->add_option("GAME", *gameId, "Game id")->required();
  whenChosen(*command, context, [name, gameId](Context& chosen) {
    return queryAndPrint<Type>(chosen, name, {*gameId});
  });
}

void addSpeed(CLI::App& app, Context& context) {
  auto request = std::make_shared<client::SpeedRequest>();
  CLI::App* speed = app.add_subcommand("speed", "Summary of a game's latest speed test");
  speed->add_option("GAME", request->gameId, "Game id")->required();
  speed->add_option("AREA", request->areaId, "Area id")->required();
  speed->add_option("SERVER", request->serverKey, "Server key")->required();
  speed->add_option("--option", request->testOption, "testOption")->capture_default_str();
  whenChosen(*speed, context, [request](Context& chosen) {
    return askAndPrint(chosen, "speed", [&](client::ServiceClient& service) {
      return service.getSpeedSummary(*request);
    });
  });
}

}  // namespace

void addQueryCommands(CLI::App& app, Context& context) {
  whenChosen(
      *app.add_subcommand("console", "The library's console figures"), context,
      [](Context& chosen) { return queryAndPrint<ipc::MsgGetConsoleData>(chosen, "console"); });
  addGameCommand<ipc::MsgGetGameLastAccelInfo>(app, context, "last",
                                               "The last acceleration of a game");
  addSpeed(app, context);
  addGameCommand<ipc::MsgGetGameAccelInfo>(app, context, "game",
                                           "A game's last acceleration with its texts");
  addGameCommand<ipc::MsgGetGameUsedNodeList>(app, context, "nodes",
                                              "The nodes that were used for a game");
}

}  // namespace orva_accelerator::tools
