#include "tests/support/another_run.h"

namespace orva_accelerator::test {
namespace {

std::string& stored() {
  static std::string reason;
  return reason;
}

}  // namespace

void requestAnotherRun(const std::string& reason) {
  stored() = reason;
}

std::string reasonForAnotherRun() {
  return stored();
}

}  // namespace orva_accelerator::test
