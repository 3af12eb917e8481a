// The one acceleration that the library runs at a time: what was asked for, how far it is, and the
// figures that it shows.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "sdk/kernel_records.h"
#include "simulator/catalogue.h"
#include "simulator/deliveries.h"

namespace orva_accelerator::simulator {

// A start as the caller asked for it. The library reads its numbers as game, area and mode, its
// text as a server key.
struct StartRequest {
  std::uint32_t gameId = 0;
  std::uint32_t areaId = 0;
  std::wstring serverKey;
  bool isAuto = false;
  std::wstring nodeList;
  std::uint32_t mode = 0;
};

// What a start leads to, looked up in the catalogue; unknown games and servers get texts made of
// what the caller passed.
struct AccelTarget {
  StartRequest request;
  bool knownGame = false;
  std::wstring gameText;
  std::wstring serverText;
  Node node;
};

AccelTarget findTarget(const Catalogue& catalogue, const StartRequest& request);

// A new start takes the place of the one before it, whose results are called off unless they
// survive. Returns what calls off the results of this one.
CalledOff beginAcceleration(const AccelTarget& target, bool survives);

// A stop: nothing is accelerated any more, and results that do not survive are called off.
void endAcceleration();

// A result with `state` is about to be delivered for `target`.
void reachState(const AccelTarget& target, std::uint32_t state);

// The figures of this moment; zeros when nothing is accelerated. They move with time.
sdk::AccelDataRecord currentAccelData();

// What the game was last accelerated with in this process, if it was.
std::optional<LastAccel> rememberedLastAccel(std::uint32_t gameId);

}  // namespace orva_accelerator::simulator
