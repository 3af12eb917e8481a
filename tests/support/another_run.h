// Runs that show nothing, because of what they run on.
#pragma once

#include <string>

namespace orva_accelerator::test {

// The test that is running has failed for a reason that is known for sure and is not ours. Its
// program still ends as one with a failure, but scripts/wine.sh begins it again, up to twice, and
// scripts/test.sh counts that.
void requestAnotherRun(const std::string& reason);

// Empty if nobody has.
std::string reasonForAnotherRun();

}  // namespace orva_accelerator::test
