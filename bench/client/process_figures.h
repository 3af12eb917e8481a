// What the host system says of a process.
#pragma once

namespace orva_accelerator::bench {

// Resident memory in KiB, as the host system's /proc shows it; 0 where there is none to ask.
double residentKiB(unsigned processId);

}  // namespace orva_accelerator::bench
