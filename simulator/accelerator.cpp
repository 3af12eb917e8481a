#include "simulator/accelerator.h"

#include <chrono>
#include <cwchar>
#include <iterator>
#include <map>
#include <mutex>

#include "simulator/texts.h"

namespace orva_accelerator::simulator {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint32_t kStateAccelerating = 4;
constexpr std::uint32_t kLastEndingState = 7;

struct Accelerator {
  std::mutex mutex;
  CalledOff callOff;  // Of the latest start; null when its results survive.
  std::uint32_t state = 0;
  AccelTarget target;
  Clock::time_point since;
  std::map<std::uint32_t, LastAccel> lastAccels;
};

Accelerator& theAccelerator() {
  static Accelerator& accelerator = *new Accelerator;
  return accelerator;
}

// With the mutex held.
void callOffResults(Accelerator& accelerator) {
  if (accelerator.callOff) accelerator.callOff->store(true);
  accelerator.callOff = nullptr;
}

Node chooseNode(const Server* server, const StartRequest& request) {
  Node unknown{0, request.isAuto ? L"自动 Auto" : request.nodeList, 50, 0, 0};
  if (!request.isAuto) {
    const auto first =
        static_cast<std::uint32_t>(std::wcstol(request.nodeList.c_str(), nullptr, 10));
    const Node* chosen = server == nullptr ? nullptr : findNode(*server, first);
    if (chosen != nullptr) return *chosen;
    unknown.nodeId = first;
    return unknown;
  }
  if (server == nullptr || server->nodes.empty()) return unknown;
  const Node* best = &server->nodes.front();
  for (const Node& node : server->nodes) {
    if (node.value1 < best->value1) best = &node;
  }
  return *best;
}

LastAccel lastAccelOf(const AccelTarget& target) {
  const StartRequest& request = target.request;
  std::wstring info = target.serverText + L" · " + std::to_wstring(target.node.value1) + L" ms";
  return {request.areaId,    std::move(info), request.serverKey, target.node.nodeId, 1,
          target.node.value1};
}

// A few figures that go up and down, a new one every quarter of a second.
std::uint32_t wobble(std::int64_t elapsedMs, std::size_t shift) {
  constexpr std::uint32_t kSteps[] = {0, 2, 1, 4, 3, 6, 2, 5, 1, 3, 0, 1};
  return kSteps[(static_cast<std::size_t>(elapsedMs / 250) + shift) % std::size(kSteps)];
}

void fillFigures(sdk::AccelDataRecord& record, const Node& node, std::int64_t elapsedMs) {
  constexpr std::uint64_t kBytesPerMs = 181;
  record.flag = 1;
  record.value5 = node.value1 + wobble(elapsedMs, 0);
  record.value6 = wobble(elapsedMs, 5) * 7;
  record.value8 = static_cast<std::uint64_t>(elapsedMs) * kBytesPerMs;
  record.value9 = static_cast<std::uint32_t>(elapsedMs / 1000);
  record.value10 = 58 + wobble(elapsedMs, 3);
}

}  // namespace

AccelTarget findTarget(const Catalogue& catalogue, const StartRequest& request) {
  AccelTarget target{request, false, request.serverKey, request.serverKey, {}};
  const Game* game = findGame(catalogue, request.gameId);
  const Server* server =
      game == nullptr ? nullptr : findServer(*game, request.areaId, request.serverKey);
  if (game != nullptr) {
    target.knownGame = true;
    target.gameText = game->text;
  }
  if (server != nullptr) target.serverText = server->text;
  target.node = chooseNode(server, request);
  return target;
}

CalledOff beginAcceleration(const AccelTarget& target, bool survives) {
  Accelerator& accelerator = theAccelerator();
  const std::lock_guard lock(accelerator.mutex);
  callOffResults(accelerator);
  accelerator.state = 0;
  accelerator.target = target;
  if (survives) return nullptr;
  accelerator.callOff = std::make_shared<std::atomic<bool>>(false);
  return accelerator.callOff;
}

void endAcceleration() {
  Accelerator& accelerator = theAccelerator();
  const std::lock_guard lock(accelerator.mutex);
  callOffResults(accelerator);
  accelerator.state = 0;
}

void reachState(const AccelTarget& target, std::uint32_t state) {
  Accelerator& accelerator = theAccelerator();
  const std::lock_guard lock(accelerator.mutex);
  if (state == kStateAccelerating) {
    accelerator.target = target;
    accelerator.since = Clock::now();
    if (target.knownGame) accelerator.lastAccels[target.request.gameId] = lastAccelOf(target);
  }
  const bool ended = state > kStateAccelerating && state <= kLastEndingState;
  accelerator.state = ended ? 0 : state;
}

sdk::AccelDataRecord currentAccelData() {
  sdk::AccelDataRecord record{};
  Accelerator& accelerator = theAccelerator();
  const std::lock_guard lock(accelerator.mutex);
  if (accelerator.state == 0) return record;
  const AccelTarget& target = accelerator.target;
  record.value1 = accelerator.state;
  record.value2 = target.request.gameId;
  record.value3 = target.request.areaId;
  record.value4 = target.node.nodeId;
  record.value7 = target.request.mode;
  copyText(target.gameText, record.text1, std::size(record.text1));
  copyText(target.serverText, record.text2, std::size(record.text2));
  copyText(target.node.text, record.text3, std::size(record.text3));
  copyText(target.request.isAuto ? L"自动" : L"手动", record.text4, std::size(record.text4));
  copyText(L"192.168.1.1", record.text5, std::size(record.text5));
  if (accelerator.state == kStateAccelerating) {
    const auto elapsed = Clock::now() - accelerator.since;
    fillFigures(record, target.node,
                std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count());
  }
  return record;
}

std::optional<LastAccel> rememberedLastAccel(std::uint32_t gameId) {
  Accelerator& accelerator = theAccelerator();
  const std::lock_guard lock(accelerator.mutex);
  const auto found = accelerator.lastAccels.find(gameId);
  if (found == accelerator.lastAccels.end()) return std::nullopt;
  return found->second;
}

}  // namespace orva_accelerator::simulator
