// A fake library that the binding has loaded and initialised, for tests of what comes after that.
#pragma once

#include <gtest/gtest.h>

#include "sdk/accel_sdk.h"
#include "sdk/kernel_function_table.h"
#include "tests/support/fake_kernel.h"

namespace orva_accelerator::test {

class InitialisedKernel : public FakeKernel {
 public:
  InitialisedKernel() {
    initialise();
    clearCalls();
  }
  ~InitialisedKernel() { sdk::AccelSdk::Instance().Release(); }

  void initialise() { EXPECT_EQ(sdk::AccelSdk::Instance().Init({}), sdk::SdkInitialised); }

  // As if the function had never been resolved.
  void forget(sdk::KernelFunction function) {
    sdk::kernelFunctions.set(static_cast<std::size_t>(function), nullptr);
  }
};

}  // namespace orva_accelerator::test
