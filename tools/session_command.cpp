// session: the whole life of a client, shown step by step.
#include <memory>
#include <string>
#include <utility>

#include "ipc/wire/message_types.h"
#include "tools/commands.h"
#include "tools/interrupt.h"
#include "tools/options_parsing.h"
#include "tools/outcome.h"

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
};

class Session {
 public:
  Session(Context& context, const SessionOptions& options, ListeningClient listening)
      : context_(context), options_(options), listening_(std::move(listening)) {}

  // The steps in their order. Whatever happens, the client leaves at the end, so that no
  // acceleration of this session outlives it.
  Result<Done> Run() {
    auto run = Work();
    auto left = Leave();
    return run ? left : run;
  }

 private:
  using Step = Result<Done> (Session::*)();

  Result<Done> Work() {
    for (const Step step :
         {&Session::Init, &Session::Login, &Session::Start, &Session::Status, &Session::Stop}) {
      auto done = (this->*step)();
      if (!done) return done;
      if (Interrupted(InterruptEvent())) {
        return Error{ErrorKind::Interrupted, "finish the session", 0, "interrupted"};
      }
    }
    return Done{};
  }

  Result<Done> Init() {
    context_.Say("Initialising the library");
    auto result = listening_.service.Init(options_.init);
    if (!result) return result.error();
    context_.Print("init", Json{{"result", result.value()}});
    if (result.value() == 1) return Done{};
    return Error{ErrorKind::Refused, "initialise the library", 0, "the service could not load it"};
  }

  Result<Done> Login() {
    context_.Say("\nLogging in");
    auto taken = listening_.service.Login({options_.account, options_.credential});
    if (!taken) return taken;
    return AwaitOutcome(context_, listening_.push, ipc::NotifyUserLogin);
  }

  Result<Done> Start() {
    context_.Say("\nStarting the acceleration");
    auto accepted = listening_.service.Start(options_.start);
    if (!accepted) return accepted.error();
    if (!accepted.value()) {
      return Error{ErrorKind::Refused, "start the acceleration", 0,
                   "the library refused, or a start of another client is under way"};
    }
    return AwaitOutcome(context_, listening_.push, ipc::NotifyStartAccel);
  }

  Result<Done> Status() {
    context_.Say("\nWhile it runs");
    auto owner = listening_.service.QueryOwner();
    if (!owner) return owner.error();
    context_.Print("owner", ToJson(*owner.value()));
    auto data = listening_.service.GetAccelData();
    if (!data) return data.error();
    context_.Print("data", ToJson(*data.value()));
    return Done{};
  }

  Result<Done> Stop() {
    context_.Say("\nStopping the acceleration");
    auto taken = listening_.service.Stop();
    if (!taken) return taken;
    return AwaitOutcome(context_, listening_.push, ipc::NotifyStopAccel);
  }

  Result<Done> Leave() {
    if (!listening_.service.usable()) {
      // An answer that did not come has closed the connection. Whoever cannot be reached again
      // cannot be left either, and the error of the first failure is the news.
      auto again = context_.Connect();
      if (!again) return Done{};
      listening_.service = std::move(again.value());
    }
    context_.Say("\nLeaving");
    auto left = listening_.service.Leave();
    if (!left) return left.error();
    context_.Print("leave", ToJson(*left.value()));
    return Done{};
  }

  Context& context_;
  const SessionOptions& options_;
  ListeningClient listening_;
};

int RunSession(Context& context, const SessionOptions& options) {
  (void)InterruptEvent();  // From here on Ctrl+C leads to leaving, not to vanishing.
  auto listening = ConnectListening(context);
  if (!listening) return context.Fail(listening.error());
  if (context.options.json) {
    context.Print("register", Json{{"clientId", context.options.clientId}});
  }
  context.Say("Registered for notifications as client " + std::to_string(context.options.clientId) +
              "\n");
  Session session(context, options, std::move(listening.value()));
  auto run = session.Run();
  return run ? kExitOk : context.Fail(run.error());
}

}  // namespace

void AddSessionCommand(CLI::App& app, Context& context) {
  auto options = std::make_shared<SessionOptions>();
  CLI::App* session = app.add_subcommand(
      "session", "A whole life: register, init, login, start, status, stop, leave");
  session->add_option("--account", options->account, "Account")->capture_default_str();
  session->add_option("--credential", options->credential, "Credential")->capture_default_str();
  AddChannelOptions(*session, options->init);
  AddStartOptions(*session, options->start);
  session->callback([&context, options] {
    context.action = [&context, options] { return RunSession(context, *options); };
  });
}

}  // namespace orva_accelerator::tools
