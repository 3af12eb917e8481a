// Deadlines for waiting: for what does not come, and for what does.
#pragma once

#include <chrono>

#include "client/deadline.h"
#include "tests/support/bounded_wait.h"

namespace orva_accelerator::client {

inline Deadline soon() {
  return Deadline::after(std::chrono::milliseconds(50));
}

inline Deadline patient() {
  return Deadline::after(test::kPatience);
}

}  // namespace orva_accelerator::client
