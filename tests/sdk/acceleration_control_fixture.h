// Starting and stopping acceleration against a library inside the process.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "sdk/accel_sdk.h"
#include "sdk/completions.h"
#include "sdk/kernel_function_table.h"
#include "tests/support/fake_kernel.h"

namespace orva_accelerator::sdk {

class AccelerationControl : public testing::Test {
 protected:
  AccelerationControl() {
    EXPECT_TRUE(ResolveKernelFunctions(kernel.module()));
    accelResultHandler.install({});
    stopResultHandler.install({});
  }
  ~AccelerationControl() override {
    // What the tests' callbacks capture goes with the test.
    accelResultHandler.install({});
    stopResultHandler.install({});
  }

  AccelResultCallback remember(std::vector<SAccelResult>& seen) {
    return [&seen](const SAccelResult& result) { seen.push_back(result); };
  }
  CodeResultCallback remember(std::vector<int>& seen) {
    return [&seen](int code, const std::wstring& message) {
      EXPECT_EQ(message, L"");
      seen.push_back(code);
    };
  }
  void reportState(std::uint32_t state) {
    KernelAccelResult record = {};
    record.state = state;
    OnAccelResult(nullptr, nullptr, &record);
  }

  test::FakeKernel kernel;
  AccelSdk& accelSdk = AccelSdk::Instance();
  std::vector<SAccelResult> results;
  std::vector<int> codes;
};

}  // namespace orva_accelerator::sdk
