// session: the whole life of a client, shown step by step.
#include <memory>
#include <string>
#include <utility>

#include "ipc/wire/messages.h"
#include "tools/commands.h"
#include "tools/credential.h"
#include "tools/doctor/file_checks.h"
#include "tools/doctor/registered_path.h"
#include "tools/doctor/service_facts.h"
#include "tools/interrupt.h"
#include "tools/options_parsing.h"
#include "tools/outcome.h"
#include "tools/prompt.h"
#include "tools/version_resource.h"

namespace orva_accelerator::tools {
namespace {

using client::Done;
using client::Error;
using client::ErrorKind;
using client::Result;

struct SessionOptions {
  client::InitRequest init;
  std::string account = "player";
  std::string credential = "secret";
  client::StartRequest start;
  const CLI::Option* accountGiven = nullptr;
  const CLI::Option* credentialGiven = nullptr;
  bool yes = false;
};

class Session {
 public:
  Session(Context& context, const SessionOptions& options, client::ListeningClient listening)
      : context_(context), options_(options), listening_(std::move(listening)) {}

  // The steps in their order. Whatever happens, the client leaves at the end, so that no
  // acceleration of this session outlives it.
  Result<Done> run() {
    auto run = work();
    auto left = leave();
    return run ? left : run;
  }

 private:
  using Step = Result<Done> (Session::*)();

  Result<Done> work() {
    for (const Step step :
         {&Session::Init, &Session::login, &Session::start, &Session::status, &Session::stop}) {
      auto done = (this->*step)();
      if (!done) return done;
      if (interrupted(interruptEvent())) {
        return Error{ErrorKind::Interrupted, "finish the session", 0, "interrupted"};
      }
    }
    return Done{};
  }

  Result<Done> Init() {
    context_.say("Initialising the library");
    auto result = listening_.service.Init(options_.init);
    if (!result) return result.error();
    context_.print("init", Json{{"result", result.value()}});
    if (result.value() == 1) return Done{};
    return Error{ErrorKind::Refused, "initialise the library", 0, "the service could not load it"};
  }

  Result<Done> login() {
    context_.say("\nLogging in");
    auto taken = listening_.service.login({options_.account, options_.credential});
    if (!taken) return taken;
    return awaitAndPrint(context_, listening_.push, client::Awaited::Login);
  }

  Result<Done> start() {
    context_.say("\nStarting the acceleration");
    auto accepted = takenStart(listening_.service.start(options_.start));
    if (!accepted) return accepted;
    return awaitAndPrint(context_, listening_.push, client::Awaited::Start);
  }

  Result<Done> status() {
    context_.say("\nWhile it runs");
    auto owner = listening_.service.query<ipc::MsgQueryAccelOwner>();
    if (!owner) return owner.error();
    context_.print("owner", toJson(*owner.value()));
    auto data = listening_.service.query<ipc::MsgGetAccelData>();
    if (!data) return data.error();
    context_.print("data", toJson(*data.value()));
    return Done{};
  }

  Result<Done> stop() {
    context_.say("\nStopping the acceleration");
    auto taken = listening_.service.stop();
    if (!taken) return taken;
    return awaitAndPrint(context_, listening_.push, client::Awaited::Stop);
  }

  Result<Done> leave() {
    if (!listening_.service.usable()) {
      // An answer that did not come has closed the connection. Whoever cannot be reached again
      // cannot be left either, and the error of the first failure is the news.
      auto again = context_.connect();
      if (!again) return Done{};
      listening_.service = std::move(again.value());
    }
    context_.say("\nLeaving");
    auto left = listening_.service.leave();
    if (!left) return left.error();
    context_.print("leave", toJson(*left.value()));
    return Done{};
  }

  Context& context_;
  const SessionOptions& options_;
  client::ListeningClient listening_;
};

// By the version resource of what lies beside the registered service. What cannot be told is not
// taken for it.
bool usesTheSimulatedLibrary(const std::wstring& serviceName) {
  const ServiceFacts facts = gatherServiceFacts(serviceName);
  if (!facts.config) return false;
  const std::wstring folder = folderOf(parseRegisteredPath(facts.config->path).file);
  const auto library = readVersionResource(libraryBelow(folder));
  return library && isTheSimulatedLibrary(*library);
}

// A real library would be given an account that nobody has, and maybe lock the caller out.
Result<Done> mayGoOn(Context& context, const SessionOptions& options) {
  if (options.yes || options.accountGiven->count() != 0) return Done{};
  if (usesTheSimulatedLibrary(context.options.request.serviceName)) return Done{};
  const Error refused{ErrorKind::Usage, "begin the session", 0,
                      "the library is not known to be the simulated one, and the account " +
                          options.account + " is made up; give --account, or --yes"};
  if (!canAsk()) return refused;
  auto answer =
      ask(context.console,
          "The library is not known to be the simulated one. Log in the made-up account " +
              options.account + " all the same? [y/N] ",
          Echo::On);
  if (!answer) return answer.error();
  const bool yes = answer.value() == L"y" || answer.value() == L"Y";
  return yes ? Result<Done>(Done{}) : refused;
}

// The made-up one is for the made-up account only.
Result<Done> completeCredential(Context& context, SessionOptions& options) {
  if (options.credentialGiven->count() != 0) {
    warnOfVisibleCredential(context.console);
    return Done{};
  }
  if (options.accountGiven->count() == 0) return Done{};
  auto read = readCredential(context.console);
  if (!read) return read.error();
  options.credential = std::move(read.value());
  return Done{};
}

int runSession(Context& context, SessionOptions& options) {
  auto agreed = mayGoOn(context, options);
  if (agreed) agreed = completeCredential(context, options);
  if (!agreed) return context.fail(agreed.error());
  (void)interruptEvent();  // From here on Ctrl+C leads to leaving, not to vanishing.
  auto listening = context.connectListening();
  if (!listening) return context.fail(listening.error());
  const std::uint32_t id = context.options.clientId;
  context.report("register", Json{{"clientId", id}},
                 "Registered for notifications as client " + std::to_string(id) + "\n");
  Session session(context, options, std::move(listening.value()));
  auto run = session.run();
  SecureZeroMemory(options.credential.data(), options.credential.size());
  return run ? ExitOk : context.fail(run.error());
}

}  // namespace

void addSessionCommand(CLI::App& app, Context& context) {
  auto options = std::make_shared<SessionOptions>();
  CLI::App* session = app.add_subcommand(
      "session", "A whole life: register, init, login, start, status, stop, leave");
  options->accountGiven =
      session->add_option("--account", options->account, "Account")->capture_default_str();
  session->add_flag("--yes", options->yes,
                    "Use the made-up account without asking, whatever the library");
  options->credentialGiven = session->add_option(
      "--credential", options->credential,
      "Credential; of an account that is given it is asked for, or read from standard input");
  addChannelOptions(*session, options->init);
  addStartOptions(*session, options->start);
  whenChosen(*session, context,
             [options](Context& chosen) { return runSession(chosen, *options); });
}

}  // namespace orva_accelerator::tools
