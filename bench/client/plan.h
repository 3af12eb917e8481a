// What is measured, and against whom.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "bench/client/rounds.h"

namespace orva_accelerator::bench {

struct Plan {
  std::vector<Server> servers;       // By ServerIndex.
  unsigned wineServerProcessId = 0;  // Keeps the kernel objects here; 0 on Windows.
  std::string scenarioPath;          // Where the simulated library reads its scenario.
  int rounds = 15;                   // Slots of each server and row.
  int requests = 1000;               // Of a slot, at least; every connection has its turn.
  int window = 1;                    // Requests under way at a time; 0 for all connections.
  std::vector<int> connections = {1, 2, 8, 64, 255, 1000};
  std::vector<int> pushClients = {1, 10, 100, 500};
  int finishedConnections = 100'000;
};

}  // namespace orva_accelerator::bench
