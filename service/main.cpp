#include "service/command_line.h"

extern "C" int wmain(int argc, wchar_t* argv[]) {
  return orva_accelerator::service::runCommandLine(argc, argv);
}
