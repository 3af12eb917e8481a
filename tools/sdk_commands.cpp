// init, login, release: the library's life as clients see it.
#include <windows.h>

#include <memory>
#include <string>
#include <utility>

#include "tools/commands.h"
#include "tools/credential.h"
#include "tools/options_parsing.h"
#include "tools/outcome.h"

namespace orva_accelerator::tools {
namespace {

const char* initMeaning(std::int32_t result) {
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

int runInit(Context& context, const client::InitRequest& request) {
  auto service = context.connect();
  if (!service) return context.fail(service.error());
  auto result = service.value().Init(request);
  if (!result) return context.fail(result.error());
  const char* meaning = initMeaning(result.value());
  if (result.value() != 1) {
    return context.fail(
        client::Error{client::ErrorKind::Refused, "initialise the library", 0,
                      "the service answered " + std::to_string(result.value()) + ", " + meaning});
  }
  context.print("init", Json{{"result", result.value()}, {"meaning", meaning}});
  return ExitOk;
}

int runRelease(Context& context) {
  auto service = context.connect();
  if (!service) return context.fail(service.error());
  auto released = service.value().Release();
  if (!released) return context.fail(released.error());
  context.report("release", Json{{"taken", true}}, "Released.");
  return ExitOk;
}

struct LoginOptions {
  std::string account;
  std::string credential;
  const CLI::Option* onCommandLine = nullptr;  // The credential.
  bool wait = false;
};

int runLogin(Context& context, LoginOptions& options) {
  if (options.onCommandLine->count() != 0) {
    warnOfVisibleCredential(context.console);
  } else {
    auto read = readCredential(context.console);
    if (!read) return context.fail(read.error());
    options.credential = std::move(read.value());
  }
  const int code = sendAndAwait(context, options.wait, client::Awaited::Login, "login",
                                "Login request taken.", [&](client::ServiceClient& service) {
                                  return service.login({options.account, options.credential});
                                });
  SecureZeroMemory(options.credential.data(), options.credential.size());
  return code;
}

void addLogin(CLI::App& app, Context& context) {
  auto options = std::make_shared<LoginOptions>();
  CLI::App* login = app.add_subcommand("login", "Log an account in");
  login->add_option("ACCOUNT", options->account, "Account")->required();
  options->onCommandLine = login->add_option(
      "CREDENTIAL", options->credential,
      "Credential; without it, asked for or read from standard input (others can see arguments)");
  login->add_flag("--wait", options->wait, "Wait for the result, which is announced later");
  whenChosen(*login, context, [options](Context& chosen) { return runLogin(chosen, *options); });
}

}  // namespace

void addSdkCommands(CLI::App& app, Context& context) {
  auto request = std::make_shared<client::InitRequest>();
  CLI::App* init = app.add_subcommand("init", "Load and initialise the acceleration library");
  addChannelOptions(*init, *request);
  whenChosen(*init, context, [request](Context& chosen) { return runInit(chosen, *request); });
  addLogin(app, context);
  whenChosen(*app.add_subcommand("release", "Mark the library as not initialised"), context,
             runRelease);
}

}  // namespace orva_accelerator::tools
