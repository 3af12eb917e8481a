// A system that has no thread left.
#pragma once

#include <process.h>

#include <cerrno>
#include <cstdint>

#include "tests/support/import_patch.h"

namespace orva_accelerator::test {

// While it lives, so many more threads can be started and then none. As a hook it tells how.
class ThreadShortage : public ImportHook<decltype(_beginthreadex)> {
 public:
  explicit ThreadShortage(std::size_t left = 0) : ImportHook(kThreadRuntime, "_beginthreadex") {
    replace([this, left](auto... arguments) -> std::uintptr_t {
      if (callCount() <= left) return callOriginal(arguments...);
      errno = EAGAIN;
      return 0;
    });
  }
};

}  // namespace orva_accelerator::test
