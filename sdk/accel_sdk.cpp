#include "sdk/accel_sdk.h"

#include <mutex>

#include "sdk/accel_sdk_impl.h"

namespace orva_accelerator::sdk {

namespace {

std::mutex instanceMutex;
std::unique_ptr<AccelSdk> instance;

}  // namespace

AccelSdk& AccelSdk::Instance() {
  const std::lock_guard lock(instanceMutex);
  if (!instance) instance.reset(new AccelSdk);
  return *instance;
}

AccelSdk::AccelSdk() : impl_(std::make_unique<AccelSdkImpl>()) {}
AccelSdk::~AccelSdk() = default;

int AccelSdk::Init(const SdkInitParams& params) {
  return impl_->Init(params);
}

void AccelSdk::Release() {
  const std::lock_guard lock(impl_->mutex);
  impl_->initialised = false;
}

bool AccelSdk::IsInitialised() const {
  return impl_->initialised;
}

}  // namespace orva_accelerator::sdk
