#include "simulator/uncalled_function.h"

#include "simulator/call.h"

namespace orva_accelerator::simulator {

unsigned long long uncalled(const char* function) noexcept {
  return guarded([function] {
    const Call call(function);
    call.log().write();
    return sdk::KernelBool{0};
  });
}

}  // namespace orva_accelerator::simulator
