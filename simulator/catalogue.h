// What the simulated library knows: games with their servers, nodes, speed tests and history.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orva_accelerator::simulator {

struct Node {
  std::uint32_t nodeId = 0;
  std::wstring text;
  std::uint32_t value1 = 0;  // Delay in milliseconds.
  std::uint32_t value2 = 0;  // Load in per cent.
  std::uint32_t value3 = 0;  // Kind of line.
};

struct SpeedTest {
  std::array<std::uint32_t, 14> summary{};
  std::vector<std::array<std::uint32_t, 4>> entries;
};

struct Server {
  std::uint32_t areaId = 0;
  std::wstring key;
  std::wstring text;
  std::vector<Node> nodes;
  SpeedTest speedTest;
};

struct LastAccel {
  std::uint32_t areaId = 0;
  std::wstring infoText;
  std::wstring serverKey;
  std::uint32_t nodeId = 0;
  std::uint8_t infoFlag = 0;
  std::uint32_t infoValue = 0;
};

struct UsedNode {
  std::uint32_t used1 = 0;
  std::uint32_t used2 = 0;
  std::wstring text1;
  std::uint32_t used3 = 0;
  std::wstring text2;
  std::uint64_t used4 = 0;
};

struct Game {
  std::uint32_t gameId = 0;
  std::uint32_t number = 0;
  std::wstring text;
  std::optional<LastAccel> lastAccel;  // Absent: the game was never accelerated.
  bool lastAccelFixed = false;         // The scenario gave it: accelerating leaves it alone.
  std::vector<Server> servers;
  std::vector<UsedNode> usedNodes;
};

// Bytes that a scenario puts over a record that the library would otherwise fill by itself.
struct RecordPatch {
  std::size_t offset = 0;
  std::vector<std::uint8_t> bytes;
};

struct Catalogue {
  std::vector<Game> games;
  std::vector<RecordPatch> accelData;
  std::vector<RecordPatch> consoleData;
};

// The games, servers and nodes that exist without a scenario; see docs/simulator.md for the list.
Catalogue defaultCatalogue();

// What a speed test over `nodes` measures.
SpeedTest speedTestOf(const std::vector<Node>& nodes);

// Null when there is none. Keys are compared unit by unit; the first match counts.
const Game* findGame(const Catalogue& catalogue, std::uint32_t gameId);
const Server* findServer(const Game& game, std::uint32_t areaId, std::wstring_view key);
const Node* findNode(const Server& server, std::uint32_t nodeId);

}  // namespace orva_accelerator::simulator
