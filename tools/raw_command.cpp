// raw: any request, bytes in and bytes out.
#include <memory>
#include <string>

#include "tools/commands.h"
#include "tools/hex.h"

namespace orva_accelerator::tools {
namespace {

int RunRaw(Context& context, std::uint32_t type, const std::string& hex) {
  const auto payload = ParseHex(hex);
  if (!payload) {
    return context.Fail(client::Error{client::ErrorKind::Usage, "read the payload", 0,
                                      "'" + hex + "' is not made of pairs of hex digits"});
  }
  auto service = context.Connect();
  if (!service) return context.Fail(service.error());
  auto answer = service.value().Ask(type, *payload);
  if (!answer) return context.Fail(answer.error());
  const client::Bytes& bytes = answer.value();
  if (context.options.json) {
    context.Print("raw", Json{{"type", type}, {"length", bytes.size()}, {"hex", PlainHex(bytes)}});
  }
  context.Say(bytes.empty() ? "(empty answer)"
                            : HexDump(bytes) + std::to_string(bytes.size()) + " bytes");
  return kExitOk;
}

}  // namespace

void AddRawCommand(CLI::App& app, Context& context) {
  auto type = std::make_shared<std::uint32_t>(0);
  auto hex = std::make_shared<std::string>();
  CLI::App* raw = app.add_subcommand("raw", "Send any request and dump the answer");
  raw->add_option("TYPE", *type, "Message type, decimal or 0x...")->required();
  raw->add_option("HEX", *hex, "Payload, such as 0100ff or \"01 00 ff\"");
  raw->callback([&context, type, hex] {
    context.action = [&context, type, hex] { return RunRaw(context, *type, *hex); };
  });
}

}  // namespace orva_accelerator::tools
