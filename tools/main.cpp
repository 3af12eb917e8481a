// orvactl: the service from the command line.
#include <string>
#include <vector>

#include "tools/command_line.h"
#include "win32/utf8.h"

extern "C" int wmain(int argc, wchar_t** argv) {
  using namespace orva_accelerator::tools;
  std::vector<std::string> arguments;
  for (int i = 1; i < argc; ++i)
    arguments.push_back(orva_accelerator::win32::utf8FromWide(argv[i]).value_or(std::string()));
  Context context;
#ifdef ORVA_FOR_DEVELOPERS
  context.forDevelopers = true;
#endif
  return runCommandLine(context, std::move(arguments));
}
