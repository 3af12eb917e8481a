// init, login, release: the library's life as clients see it.
#include <memory>

#include "ipc/wire/message_types.h"
#include "tools/commands.h"
#include "tools/options_parsing.h"
#include "tools/outcome.h"

namespace orva_accelerator::tools {
namespace {

const char* InitMeaning(std::int32_t result) {
  switch (result) {
    case 1:
      return "initialised";
    case -1:
      return "the library could not be loaded";
    case -2:
      return "the library lacks a function";
    default:
      return "not understood";
  }
}

int RunInit(Context& context, const client::InitRequest& request) {
  auto service = context.Connect();
  if (!service) return context.Fail(service.error());
  auto result = service.value().Init(request);
  if (!result) return context.Fail(result.error());
  const char* meaning = InitMeaning(result.value());
  if (result.value() != 1) {
    return context.Fail(
        client::Error{client::ErrorKind::Refused, "initialise the library", 0,
                      "the service answered " + std::to_string(result.value()) + ", " + meaning});
  }
  context.Print("init", Json{{"result", result.value()}, {"meaning", meaning}});
  return kExitOk;
}

int RunRelease(Context& context) {
  auto service = context.Connect();
  if (!service) return context.Fail(service.error());
  auto released = service.value().Release();
  if (!released) return context.Fail(released.error());
  if (context.options.json) context.Print("release", Json{{"taken", true}});
  context.Say("Released.");
  return kExitOk;
}

void AddLogin(CLI::App& app, Context& context) {
  struct Credentials {
    std::string account;
    std::string credential;
  };
  auto request = std::make_shared<Credentials>();
  auto wait = std::make_shared<bool>(false);
  CLI::App* login = app.add_subcommand("login", "Log an account in");
  login->add_option("ACCOUNT", request->account, "Account")->required();
  login->add_option("CREDENTIAL", request->credential, "Credential")->required();
  login->add_flag("--wait", *wait, "Wait for the result, which is announced later");
  login->callback([&context, request, wait] {
    context.action = [&context, request, wait] {
      return SendAndAwait(context, *wait, ipc::NotifyUserLogin, "login", "Login request taken.",
                          [&](client::ServiceClient& service) {
                            return service.Login({request->account, request->credential});
                          });
    };
  });
}

}  // namespace

void AddSdkCommands(CLI::App& app, Context& context) {
  auto request = std::make_shared<client::InitRequest>();
  CLI::App* init = app.add_subcommand("init", "Load and initialise the acceleration library");
  AddChannelOptions(*init, *request);
  init->callback([&context, request] {
    context.action = [&context, request] { return RunInit(context, *request); };
  });
  AddLogin(app, context);
  app.add_subcommand("release", "Mark the library as not initialised")->callback([&context] {
    context.action = [&context] { return RunRelease(context); };
  });
}

}  // namespace orva_accelerator::tools
