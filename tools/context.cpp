#include "tools/context.h"

#include <algorithm>
#include <utility>

#include "tools/record_text.h"

namespace orva_accelerator::tools {
namespace {

// A service that runs has a free pipe instance within milliseconds. Waiting longer would only keep
// people from reading that it does not run.
constexpr std::chrono::milliseconds kLongestOpening{2000};

std::string jsonLine(const Json& record, bool toConsole) {
  Json line{{"schema", kJsonSchema}};
  line.update(record);
  return oneLine(line, toConsole ? Characters::All : Characters::Ascii) + "\n";
}

}  // namespace

client::Deadline Context::openingDeadline() const {
  return client::Deadline::after(std::min(options.timeout, kLongestOpening));
}

client::Result<client::ServiceClient> Context::connect() {
  auto channel = client::RequestChannel::open(options.request, openingDeadline());
  if (!channel) return channel.error();
  return client::ServiceClient(std::move(channel.value()), options.clientId, options.timeout);
}

client::Result<client::PushChannel> Context::registerPush() {
  return client::PushChannel::registerPush(options.push, options.clientId, openingDeadline());
}

client::Result<client::ListeningClient> Context::connectListening() {
  return client::connectListening(options.request, options.push, options.clientId,
                                  openingDeadline(), options.timeout);
}

void Context::print(const char* command, const Json& record) {
  if (!options.json) {
    console.out(recordText(record));
    return;
  }
  Json line{{"command", command}};
  line.update(record);
  printJson(line);
}

void Context::printJson(const Json& record) {
  console.out(jsonLine(record, console.outIsConsole()));
}

void Context::say(const std::string& sentence) {
  if (!options.json) console.out(sentence + "\n");
}

void Context::report(const char* command, const Json& record, const std::string& sentence) {
  if (options.json) print(command, record);
  say(sentence);
}

int Context::fail(const client::Error& error) {
  if (options.json) {
    const Json line{{"error",
                     {{"kind", client::kindName(error.kind)},
                      {"step", error.step},
                      {"win32Code", error.win32Code},
                      {"text", error.text}}}};
    console.err(jsonLine(line, console.errIsConsole()));
  } else {
    console.err("orvactl: " + client::describe(error) + "\n");
  }
  return exitCodeOf(error.kind);
}

}  // namespace orva_accelerator::tools
