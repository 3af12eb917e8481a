#include "simulator/catalogue.h"

#include <algorithm>

namespace orva_accelerator::simulator {
namespace {

Server server(std::uint32_t areaId, std::wstring key, std::wstring text, std::vector<Node> nodes) {
  SpeedTest test = speedTestOf(nodes);
  return {areaId, std::move(key), std::move(text), std::move(nodes), std::move(test)};
}

// Last accelerated on a Chinese server; texts mix both scripts.
Game starRiver() {
  Game game{1001, 11, L"星河战纪", {}, false, {}, {}};
  game.lastAccel = LastAccel{1, L"华东一区 · 上次 38 ms", L"east-1", 101, 1, 38};
  game.servers = {
      server(1, L"east-1", L"华东一区",
             {{101, L"上海 电信 01", 38, 21, 1},
              {102, L"杭州 联通 02", 41, 55, 2},
              {103, L"南京 移动 03", 47, 13, 3}}),
      server(1, L"east-2", L"华东二区", {{104, L"上海 电信 04", 39, 70, 1}}),
      server(2, L"south-1", L"华南一区",
             {{111, L"广州 电信 01", 33, 44, 1}, {112, L"深圳 BGP 02", 35, 62, 4}}),
  };
  game.usedNodes = {
      {101, 1, L"上海 电信 01", 38, L"华东一区", 1767225600000ULL},
      {111, 2, L"广州 电信 01", 33, L"华南一区", 1767139200000ULL},
  };
  return game;
}

// Latin texts, overseas servers.
Game frostholm() {
  Game game{1002, 12, L"Frostholm Online", {}, false, {}, {}};
  game.lastAccel = LastAccel{11, L"Frankfurt, last 182 ms", L"EU-Central", 202, 0, 182};
  game.servers = {
      server(10, L"NA-West", L"North America West",
             {{201, L"Los Angeles GIA 01", 141, 30, 5}, {205, L"Seattle 02", 150, 12, 1}}),
      server(11, L"EU-Central", L"Europe Central",
             {{202, L"Frankfurt 01", 182, 25, 1}, {203, L"Zürich 02", 190, 9, 1}}),
      server(12, L"JP-Tokyo", L"日本・東京", {{204, L"東京 IIJ 01", 58, 48, 5}}),
  };
  game.usedNodes = {{202, 11, L"Frankfurt 01", 182, L"Europe Central", 1766966400000ULL}};
  return game;
}

// Never accelerated: no last acceleration and no used nodes.
Game cloudKart() {
  Game game{1003, 13, L"云端卡丁车 Cloud Kart", {}, false, {}, {}};
  game.servers = {
      server(1, L"all", L"全区全服", {{301, L"北京 BGP 01", 29, 37, 4}}),
      server(20, L"SEA", L"Southeast Asia", {}),
  };
  return game;
}

// Accelerated as a whole, without a server.
Game lanternQuest() {
  Game game{1004, 14, L"Lantern Quest", {}, false, {}, {}};
  game.lastAccel = LastAccel{0, L"", L"", 0, 0, 0};
  return game;
}

}  // namespace

Catalogue defaultCatalogue() {
  return {{starRiver(), frostholm(), cloudKart(), lanternQuest()}, {}, {}};
}

SpeedTest speedTestOf(const std::vector<Node>& nodes) {
  SpeedTest test;
  if (nodes.empty()) return test;
  std::uint32_t sum = 0;
  std::uint32_t best = nodes.front().value1;
  std::uint32_t worst = best;
  std::uint32_t bestNode = nodes.front().nodeId;
  for (const Node& node : nodes) {
    sum += node.value1;
    worst = std::max(worst, node.value1);
    if (node.value1 < best) {
      best = node.value1;
      bestNode = node.nodeId;
    }
    test.entries.push_back({node.nodeId, node.value1, node.value2 / 20, 1});
  }
  const auto count = static_cast<std::uint32_t>(nodes.size());
  const std::uint32_t average = sum / count;
  test.summary = {count, bestNode, best, average,  worst,       worst - best, 0,
                  100,   count,    0,    best * 3, average * 3, worst * 3,    64};
  return test;
}

const Game* findGame(const Catalogue& catalogue, std::uint32_t gameId) {
  const auto found = std::ranges::find(catalogue.games, gameId, &Game::gameId);
  return found == catalogue.games.end() ? nullptr : &*found;
}

const Server* findServer(const Game& game, std::uint32_t areaId, std::wstring_view key) {
  const auto found = std::ranges::find_if(game.servers, [areaId, key](const Server& candidate) {
    return candidate.areaId == areaId && candidate.key == key;
  });
  return found == game.servers.end() ? nullptr : &*found;
}

const Node* findNode(const Server& server, std::uint32_t nodeId) {
  const auto found = std::ranges::find(server.nodes, nodeId, &Node::nodeId);
  return found == server.nodes.end() ? nullptr : &*found;
}

}  // namespace orva_accelerator::simulator
