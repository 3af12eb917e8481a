#include "sdk/accel_sdk.h"

#include <cstdlib>
#include <mutex>

#include "sdk/accel_sdk_impl.h"

namespace orva_accelerator::sdk {

namespace {

// Neither is ever deleted: connection threads go on asking for the binding while the process exits.
std::mutex& instanceMutex = *new std::mutex;
AccelSdk* instance = nullptr;

}  // namespace

AccelSdk& AccelSdk::Instance() {
  const std::lock_guard lock(instanceMutex);
  if (instance == nullptr) {
    instance = new AccelSdk;
    // Without memory for that, the system frees the library a moment later.
    (void)std::atexit([] { instance->impl_->closeForGood(); });
  }
  return *instance;
}

AccelSdk::AccelSdk() : impl_(std::make_unique<AccelSdkImpl>()) {}
AccelSdk::~AccelSdk() = default;

int AccelSdk::Init(const SdkInitParams& params) {
  return impl_->Init(params);
}

void AccelSdk::Release() {
  impl_->Release();
}

bool AccelSdk::IsInitialised() const {
  return impl_->initialised;
}

}  // namespace orva_accelerator::sdk
