#include "simulator/catalogue_reader.h"

#include <algorithm>

#include "sdk/kernel_records.h"
#include "simulator/texts.h"

namespace orva_accelerator::simulator {
namespace {

Node readNode(const Json& value, const std::string& path) {
  JsonObject object(value, path);
  Node node;
  object.read("nodeId", node.nodeId);
  object.read("text", node.text);
  object.read("value1", node.value1);
  object.read("value2", node.value2);
  object.read("value3", node.value3);
  object.finish();
  return node;
}

SpeedTest readSpeedTest(const Json& value, const std::string& path) {
  JsonObject object(value, path);
  SpeedTest test;
  std::size_t used = 0;
  object.readEach("summary", [&](const Json& number, const std::string& numberPath) {
    if (used == test.summary.size()) failAt(numberPath, "a summary has 14 numbers");
    test.summary[used++] = toU32(number, numberPath);
  });
  object.readEach("entries", [&test](const Json& entry, const std::string& entryPath) {
    if (!entry.is_array() || entry.size() != 4) failAt(entryPath, "an entry is 4 numbers");
    std::array<std::uint32_t, 4>& words = test.entries.emplace_back();
    for (std::size_t i = 0; i < words.size(); ++i) words[i] = toU32(entry[i], entryPath);
  });
  object.finish();
  return test;
}

Server readServer(const Json& value, const std::string& path) {
  JsonObject object(value, path);
  Server server;
  object.read("areaId", server.areaId);
  object.read("key", server.key);
  object.read("text", server.text);
  object.readEach("nodes", [&server](const Json& node, const std::string& nodePath) {
    server.nodes.push_back(readNode(node, nodePath));
  });
  const Json* test = object.find("speedTest");
  server.speedTest = test == nullptr ? speedTestOf(server.nodes)
                                     : readSpeedTest(*test, object.pathOf("speedTest"));
  object.finish();
  return server;
}

LastAccel readLastAccel(const Json& value, const std::string& path) {
  JsonObject object(value, path);
  LastAccel last;
  object.read("areaId", last.areaId);
  object.read("infoText", last.infoText);
  object.read("serverKey", last.serverKey);
  object.read("nodeId", last.nodeId);
  object.read("infoFlag", last.infoFlag);
  object.read("infoValue", last.infoValue);
  object.finish();
  return last;
}

UsedNode readUsedNode(const Json& value, const std::string& path) {
  JsonObject object(value, path);
  UsedNode node;
  object.read("used1", node.used1);
  object.read("used2", node.used2);
  object.read("text1", node.text1);
  object.read("used3", node.used3);
  object.read("text2", node.text2);
  object.read("used4", node.used4);
  object.finish();
  return node;
}

void readGame(const Json& value, const std::string& path, Catalogue& catalogue) {
  JsonObject object(value, path);
  if (object.find("gameId") == nullptr) failAt(path, "the game has no gameId");
  std::uint32_t gameId = 0;
  object.read("gameId", gameId);
  auto game = std::ranges::find(catalogue.games, gameId, &Game::gameId);
  if (game == catalogue.games.end()) {
    game = catalogue.games.insert(game, Game{});
    game->gameId = gameId;
  }
  object.read("number", game->number);
  object.read("text", game->text);
  if (const Json* last = object.find("lastAccel")) {
    game->lastAccelFixed = true;
    game->lastAccel.reset();
    if (!last->is_null()) game->lastAccel = readLastAccel(*last, object.pathOf("lastAccel"));
  }
  std::vector<Server> servers;
  if (object.readEach("servers", [&servers](const Json& server, const std::string& serverPath) {
        servers.push_back(readServer(server, serverPath));
      })) {
    game->servers = std::move(servers);
  }
  std::vector<UsedNode> usedNodes;
  if (object.readEach("usedNodes", [&usedNodes](const Json& node, const std::string& nodePath) {
        usedNodes.push_back(readUsedNode(node, nodePath));
      })) {
    game->usedNodes = std::move(usedNodes);
  }
  object.finish();
}

// A number or text field of a record; `units` is 0 for a number of `bytes` bytes.
struct RecordField {
  std::string_view name;
  std::size_t offset;
  std::size_t bytes;
  std::size_t units;
};

#define ORVA_NUMBER(record, name) \
  RecordField{#name, offsetof(sdk::record, name), sizeof(sdk::record::name), 0}
#define ORVA_TEXT(record, name)                                    \
  RecordField {                                                    \
    #name, offsetof(sdk::record, name), sizeof(sdk::record::name), \
        sizeof(sdk::record::name) / sizeof(wchar_t)                \
  }

constexpr RecordField kAccelDataFields[] = {
    ORVA_NUMBER(AccelDataRecord, value1), ORVA_NUMBER(AccelDataRecord, value2),
    ORVA_TEXT(AccelDataRecord, text1),    ORVA_NUMBER(AccelDataRecord, value3),
    ORVA_TEXT(AccelDataRecord, text2),    ORVA_TEXT(AccelDataRecord, text3),
    ORVA_TEXT(AccelDataRecord, text4),    ORVA_NUMBER(AccelDataRecord, value4),
    ORVA_TEXT(AccelDataRecord, text5),    ORVA_NUMBER(AccelDataRecord, flag),
    ORVA_NUMBER(AccelDataRecord, value5), ORVA_NUMBER(AccelDataRecord, value6),
    ORVA_NUMBER(AccelDataRecord, value7), ORVA_NUMBER(AccelDataRecord, value8),
    ORVA_NUMBER(AccelDataRecord, value9), ORVA_NUMBER(AccelDataRecord, value10),
};

constexpr RecordField kConsoleDataFields[] = {
    ORVA_NUMBER(ConsoleDataRecord, console1), ORVA_NUMBER(ConsoleDataRecord, console2),
    ORVA_NUMBER(ConsoleDataRecord, console3), ORVA_NUMBER(ConsoleDataRecord, console4),
    ORVA_NUMBER(ConsoleDataRecord, console5), ORVA_NUMBER(ConsoleDataRecord, consoleFlag),
};

#undef ORVA_NUMBER
#undef ORVA_TEXT

std::uint64_t toNumberOf(std::size_t bytes, const Json& value, const std::string& path) {
  if (bytes == 8) return toU64(value, path);
  const std::uint32_t number = toU32(value, path);
  if (bytes == 1 && number > 0xFF) failAt(path, "the number is too large");
  return number;
}

RecordPatch readField(const RecordField& field, const Json& value, const std::string& path) {
  RecordPatch patch{field.offset, std::vector<std::uint8_t>(field.bytes)};
  if (field.units == 0) {
    const std::uint64_t number = toNumberOf(field.bytes, value, path);
    for (std::size_t i = 0; i < field.bytes; ++i) {
      patch.bytes[i] = static_cast<std::uint8_t>(number >> (8 * i));
    }
    return patch;
  }
  const std::wstring text = toText(value, path);
  for (std::size_t i = 0; i < field.units && i < text.size(); ++i) {
    patch.bytes[2 * i] = static_cast<std::uint8_t>(text[i] & 0xFF);
    patch.bytes[2 * i + 1] = static_cast<std::uint8_t>(text[i] >> 8);
  }
  return patch;
}

template <std::size_t Count>
void readRecord(JsonObject& section, std::string_view key, const RecordField (&fields)[Count],
                std::vector<RecordPatch>& patches) {
  const Json* value = section.find(key);
  if (value == nullptr) return;
  JsonObject object(*value, section.pathOf(key));
  for (const RecordField& field : fields) {
    if (const Json* fieldValue = object.find(field.name)) {
      patches.push_back(readField(field, *fieldValue, object.pathOf(field.name)));
    }
  }
  object.finish();
}

}  // namespace

void readCatalogue(const Json& section, const std::string& path, Catalogue& catalogue) {
  JsonObject object(section, path);
  bool replace = false;
  object.read("replace", replace);
  if (replace) catalogue = {};
  object.readEach("games", [&catalogue](const Json& game, const std::string& gamePath) {
    readGame(game, gamePath, catalogue);
  });
  readRecord(object, "accelData", kAccelDataFields, catalogue.accelData);
  readRecord(object, "consoleData", kConsoleDataFields, catalogue.consoleData);
  object.finish();
}

}  // namespace orva_accelerator::simulator
