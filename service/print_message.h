// What the command line says to its user.
#pragma once

namespace orva_accelerator::service {

// Wide formatted printing on standard output, unchanged. A wide text is "%ls" in `format`: what
// "%s" means there depends on the compiler's library.
void printMessage(const wchar_t* format, ...);

}  // namespace orva_accelerator::service
