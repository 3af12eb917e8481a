// The 101 functions of the fake library, as plain functions that find the one FakeKernel.
#pragma once

#include <windows.h>

namespace orva_accelerator::test {

class FakeKernel;

// To whom the functions belong now; null for nobody, and calls are then refused.
void setCurrentFakeKernel(FakeKernel* kernel);
FakeKernel* currentFakeKernel();

// Null for a name that is not in the list.
FARPROC fakeKernelFunction(const char* name);

}  // namespace orva_accelerator::test
