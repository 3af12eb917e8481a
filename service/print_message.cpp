#include "service/print_message.h"

#include <cstdarg>
#include <cstdio>
#include <cwchar>

namespace orva_accelerator::service {

void printMessage(const wchar_t* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  // Whoever closed the output still gets the exit code.
  (void)std::vfwprintf(stdout, format, arguments);
  va_end(arguments);
}

}  // namespace orva_accelerator::service
