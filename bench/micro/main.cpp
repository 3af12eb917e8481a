// Measures inside one process what the service does between its pipe calls.
//
//   orva_bench_micro [--quick]      writes micro.md and micro.json into the working directory
#include <cstdio>
#include <cstring>
#include <exception>

#include "bench/micro/cases.h"
#include "bench/micro/instant_library.h"
#include "bench/micro/timing.h"

int main(int argc, char* argv[]) {
  using namespace orva_accelerator::bench;
  if (argc > 1 && std::strcmp(argv[1], "--quick") == 0) makeTimingsQuick();
  try {
    useInstantLibrary();
    Tables tables;
    measureDispatch(tables);
    measureConversions(tables);
    measureDispatchAfterManyConnections(tables);
    measureBroadcast(tables);
    tables.write("micro");
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "orva_bench_micro: %s\n", error.what());
    return 1;
  }
}
