// raw: any request, bytes in and bytes out.
#include <memory>
#include <string>

#include "tools/commands.h"
#include "tools/hex.h"

namespace orva_accelerator::tools {
namespace {

int runRaw(Context& context, std::uint32_t type, const std::string& hex) {
  const auto payload = parseHex(hex);
  if (!payload) {
    return context.fail(client::Error{client::ErrorKind::Usage, "read the payload", 0,
                                      "'" + hex + "' is not made of pairs of hex digits"});
  }
  auto service = context.connect();
  if (!service) return context.fail(service.error());
  auto answer = service.value().ask(type, *payload);
  if (!answer) return context.fail(answer.error());
  const client::Bytes& bytes = answer.value();
  context.report(
      "raw", Json{{"type", type}, {"length", bytes.size()}, {"hex", plainHex(bytes)}},
      bytes.empty() ? "(empty answer)" : hexDump(bytes) + std::to_string(bytes.size()) + " bytes");
  return ExitOk;
}

}  // namespace

void addRawCommand(CLI::App& app, Context& context) {
  auto type = std::make_shared<std::uint32_t>(0);
  auto hex = std::make_shared<std::string>();
  CLI::App* raw = app.add_subcommand("raw", "Send any request and dump the answer");
  raw->add_option("TYPE", *type, "Message type, decimal or 0x...")->required();
  raw->add_option("HEX", *hex, "Payload, such as 0100ff or \"01 00 ff\"");
  whenChosen(*raw, context, [type, hex](Context& chosen) { return runRaw(chosen, *type, *hex); });
}

}  // namespace orva_accelerator::tools
