#include "tools/context.h"

#include <algorithm>
#include <utility>

#include "tools/record_text.h"

namespace orva_accelerator::tools {
namespace {

// A service that runs has a free pipe instance within milliseconds. Waiting longer would only keep
// people from reading that it does not run.
constexpr std::chrono::milliseconds kLongestOpening{2000};

}  // namespace

client::Deadline Context::OpeningDeadline() const {
  return client::Deadline::After(std::min(options.timeout, kLongestOpening));
}

client::Result<client::ServiceClient> Context::Connect() {
  auto channel = client::RequestChannel::Open(options.request, OpeningDeadline());
  if (!channel) return channel.error();
  return client::ServiceClient(std::move(channel.value()), options.clientId, options.timeout);
}

client::Result<client::PushChannel> Context::Register() {
  return client::PushChannel::Register(options.push, options.clientId, OpeningDeadline());
}

void Context::Print(const char* command, const Json& record) {
  if (!options.json) {
    console.Out(RecordText(record));
    return;
  }
  Json line{{"command", command}};
  line.update(record);
  console.Out(OneLine(line) + "\n");
}

void Context::Say(const std::string& sentence) {
  if (!options.json) console.Out(sentence + "\n");
}

int Context::Fail(const client::Error& error) {
  if (options.json) {
    const Json line{{"error",
                     {{"kind", client::KindName(error.kind)},
                      {"step", error.step},
                      {"win32Code", error.win32Code},
                      {"text", error.text}}}};
    console.Err(OneLine(line) + "\n");
  } else {
    console.Err("orvactl: " + client::Describe(error) + "\n");
  }
  return ExitCodeOf(error.kind);
}

}  // namespace orva_accelerator::tools
