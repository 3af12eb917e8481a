// What the catalogue says about one game.
#include <iterator>

#include "simulator/accelerator.h"
#include "simulator/call.h"
#include "simulator/exports.h"
#include "simulator/texts.h"

using orva_accelerator::sdk::GameDataRecord;
using orva_accelerator::sdk::KernelBool;
using namespace orva_accelerator::simulator;

namespace {

std::optional<LastAccel> lastAccelOf(const Game& game) {
  if (game.lastAccelFixed) return game.lastAccel;
  const std::optional<LastAccel> remembered = rememberedLastAccel(game.gameId);
  return remembered ? remembered : game.lastAccel;
}

}  // namespace

extern "C" KernelBool Kernel_GetGameDataFromGameID(std::uint32_t gameId, GameDataRecord* record) {
  return guarded([&] {
    const Call call("Kernel_GetGameDataFromGameID");
    call.log().number("gameId", gameId).pointer("record", record != nullptr).write();
    call.raiseIfAsked();
    const Game* game = findGame(call.scenario().catalogue, gameId);
    if (game == nullptr || record == nullptr) return call.finish(true);
    record->number = game->number;
    copyText(game->text, record->gameText, std::size(record->gameText));
    return call.finish();
  });
}

extern "C" KernelBool Kernel_GetGameLastAccelInfo(std::uint32_t gameId, std::uint32_t* areaId,
                                                  wchar_t* infoText, std::uint32_t infoTextCapacity,
                                                  wchar_t* serverKey,
                                                  std::uint32_t serverKeyCapacity,
                                                  std::uint32_t* nodeId, std::uint8_t* infoFlag,
                                                  std::uint32_t* infoValue) {
  return guarded([&] {
    const Call call("Kernel_GetGameLastAccelInfo");
    call.log()
        .number("gameId", gameId)
        .number("infoTextCapacity", infoTextCapacity)
        .number("serverKeyCapacity", serverKeyCapacity)
        .write();
    call.raiseIfAsked();
    const Game* game = findGame(call.scenario().catalogue, gameId);
    const std::optional<LastAccel> last = game == nullptr ? std::nullopt : lastAccelOf(*game);
    const bool complete = areaId != nullptr && infoText != nullptr && serverKey != nullptr &&
                          nodeId != nullptr && infoFlag != nullptr && infoValue != nullptr;
    if (!last || !complete) return call.finish(true);
    *areaId = last->areaId;
    copyText(last->infoText, infoText, infoTextCapacity);
    copyText(last->serverKey, serverKey, serverKeyCapacity);
    *nodeId = last->nodeId;
    *infoFlag = last->infoFlag;
    *infoValue = last->infoValue;
    return call.finish();
  });
}
