// What every command needs: the global options, the outputs and the way to the service.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

#include "client/outcome.h"
#include "client/push_channel.h"
#include "client/result.h"
#include "client/service_client.h"
#include "tools/console.h"
#include "tools/exit_codes.h"
#include "tools/records.h"

namespace orva_accelerator::tools {

struct Options {
  std::uint32_t clientId = 0;
  std::chrono::milliseconds timeout{5000};       // For each request.
  std::chrono::milliseconds waitTimeout{30000};  // For an outcome that is announced later.
  bool json = false;
  client::Endpoint request = client::RequestChannel::defaultEndpoint();
  client::Endpoint push = client::PushChannel::defaultEndpoint();
};

// Lives as long as the process; commands keep references to it.
class Context {
 public:
  Options options;
  Console console;
  // orvactl-dev: with the commands that can do to a service whatever bytes can do.
  bool forDevelopers = false;
  // Set by the parsed command; gives the exit code.
  std::function<int()> action;

  client::Result<client::ServiceClient> connect();
  client::Result<client::PushChannel> registerPush();
  client::Result<client::ListeningClient> connectListening();

  // Prints an answer: as rows, or as one line of JSON with the command's name in front.
  void print(const char* command, const Json& record);
  // Prints a line of JSON, with the schema's version in front.
  void printJson(const Json& record);
  // Prints a sentence for people; with --json nothing.
  void say(const std::string& sentence);
  // Prints what was done: for people the sentence, with --json the record.
  void report(const char* command, const Json& record, const std::string& sentence);
  // Prints an error to standard error and gives the exit code for it.
  int fail(const client::Error& error);

 private:
  client::Deadline openingDeadline() const;
};

// Connects, asks one question and prints its answer: the whole of most commands. `ask` takes the
// client and gives a Result of an Answer. Where that has a status, 0 is a refusal.
template <typename Ask>
int askAndPrint(Context& context, const char* command, Ask ask) {
  auto service = context.connect();
  if (!service) return context.fail(service.error());
  auto answer = ask(service.value());
  if (!answer) return context.fail(answer.error());
  if constexpr (requires { answer.value()->status; }) {
    if (answer.value()->status == 0) {
      return context.fail(client::Error{client::ErrorKind::Refused, "answer that", 0,
                                        "the library has nothing for it or is not initialised"});
    }
  }
  context.print(command, toJson(*answer.value()));
  return ExitOk;
}

// The same for a question without texts.
template <ipc::MessageType Type>
int queryAndPrint(Context& context, const char* command,
                  const typename ipc::MessageOf<Type>::Request& request = {}) {
  return askAndPrint(context, command,
                     [&](client::ServiceClient& service) { return service.query<Type>(request); });
}

}  // namespace orva_accelerator::tools
