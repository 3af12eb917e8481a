// The latest speed test of a server: a summary, filled in both calls, and an entry for each node.
#include <algorithm>
#include <iterator>

#include "simulator/exports.h"
#include "simulator/list_answer.h"

using orva_accelerator::sdk::KernelBool;
using orva_accelerator::sdk::TestSpeedEntry;
using orva_accelerator::sdk::TestSpeedSummary;
using namespace orva_accelerator::simulator;

extern "C" KernelBool Kernel_GetTestSpeedData_V2(std::uint32_t gameId, std::uint32_t areaId,
                                                 const wchar_t* serverKey, std::uint32_t testOption,
                                                 TestSpeedSummary* summary, TestSpeedEntry* entries,
                                                 std::uint32_t* count) {
  return guarded([&] {
    const Call call("Kernel_GetTestSpeedData_V2", turnOfList(entries));
    logList(call.log()
                .number("gameId", gameId)
                .number("areaId", areaId)
                .text("serverKey", serverKey)
                .number("testOption", testOption)
                .pointer("summary", summary != nullptr),
            entries, count);
    call.raiseIfAsked();
    const Game* game = findGame(call.scenario().catalogue, gameId);
    const Server* server =
        game == nullptr || serverKey == nullptr ? nullptr : findServer(*game, areaId, serverKey);
    if (server == nullptr || summary == nullptr) return call.finish(true);
    std::ranges::copy(server->speedTest.summary, std::begin(summary->summary));
    return call.finish(
        answerList(call, server->speedTest.entries, entries, count,
                   [](const std::array<std::uint32_t, 4>& words, TestSpeedEntry& entry) {
                     std::ranges::copy(words, std::begin(entry.words));
                   }));
  });
}
