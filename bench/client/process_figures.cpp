#include "bench/client/process_figures.h"

#include <fstream>
#include <string>

namespace orva_accelerator::bench {

double residentKiB(unsigned processId) {
  if (processId == 0) return 0;
  // Drive Z: is the root of the host's files. The Windows counters are not all there.
  std::ifstream status("Z:\\proc\\" + std::to_string(processId) + "\\status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmRSS:")) return std::stod(line.substr(6));
  }
  return 0;
}

}  // namespace orva_accelerator::bench
