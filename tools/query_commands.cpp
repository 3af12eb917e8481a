// console, last, speed, game, nodes: what the library knows.
#include <memory>

#include "tools/commands.h"

namespace orva_accelerator::tools {
namespace {

// The answers whose first word says whether the library had anything.
template <typename Ask>
int askWithStatus(Context& context, const char* command, Ask ask) {
  auto service = context.connect();
  if (!service) return context.fail(service.error());
  auto answer = ask(service.value());
  if (!answer) return context.fail(answer.error());
  if (answer.value()->status == 0) {
    return context.fail(client::Error{client::ErrorKind::Refused, "answer that", 0,
                                      "the library has nothing for it or is not initialised"});
  }
  context.print(command, toJson(*answer.value()));
  return ExitOk;
}

void addGameCommand(CLI::App& app, Context& context, const char* name, const char* help,
                    int (*run)(Context&, std::uint32_t)) {
  auto gameId = std::make_shared<std::uint32_t>(0);
  CLI::App* command = app.add_subcommand(name, help);
  command->add_option("GAME", *gameId, "Game id")->required();
  command->callback([&context, gameId, run] {
    context.action = [&context, gameId, run] { return run(context, *gameId); };
  });
}

int runLast(Context& context, std::uint32_t gameId) {
  return askWithStatus(context, "last", [gameId](client::ServiceClient& service) {
    return service.query<ipc::MsgGetGameLastAccelInfo>({gameId});
  });
}

int runGame(Context& context, std::uint32_t gameId) {
  return askWithStatus(context, "game", [gameId](client::ServiceClient& service) {
    return service.query<ipc::MsgGetGameAccelInfo>({gameId});
  });
}

int runNodes(Context& context, std::uint32_t gameId) {
  return askWithStatus(context, "nodes", [gameId](client::ServiceClient& service) {
    return service.query<ipc::MsgGetGameUsedNodeList>({gameId});
  });
}

void addSpeed(CLI::App& app, Context& context) {
  auto request = std::make_shared<client::SpeedRequest>();
  CLI::App* speed = app.add_subcommand("speed", "Summary of a game's latest speed test");
  speed->add_option("GAME", request->gameId, "Game id")->required();
  speed->add_option("AREA", request->areaId, "Area id")->required();
  speed->add_option("SERVER", request->serverKey, "Server key")->required();
  speed->add_option("--option", request->testOption, "testOption")->capture_default_str();
  speed->callback([&context, request] {
    context.action = [&context, request] {
      return askWithStatus(context, "speed", [&](client::ServiceClient& service) {
        return service.getSpeedSummary(*request);
      });
    };
  });
}

}  // namespace

void addQueryCommands(CLI::App& app, Context& context) {
  app.add_subcommand("console", "The library's console figures")->callback([&context] {
    context.action = [&context] {
      return askAndPrint(context, "console", [](client::ServiceClient& service) {
        return service.query<ipc::MsgGetConsoleData>();
      });
    };
  });
  addGameCommand(app, context, "last", "The last acceleration of a game", runLast);
  addSpeed(app, context);
  addGameCommand(app, context, "game", "A game's last acceleration with its texts", runGame);
  addGameCommand(app, context, "nodes", "The nodes that were used for a game", runNodes);
}

}  // namespace orva_accelerator::tools
