#include <mutex>

#include "sdk/accel_sdk.h"
#include "sdk/accel_sdk_impl.h"
#include "sdk/kernel_function_table.h"
#include "sdk/node_selection.h"

namespace orva_accelerator::sdk {

void AccelSdk::SetAccelResultCallback(AccelResultCallback callback) {
  const std::lock_guard lock(impl_->mutex);
  impl_->accelResultCallback = callback;
  accelResultHandler.install(std::move(callback));
}

bool AccelSdk::StartAccel(std::uint32_t startArg1, std::uint32_t startArg2,
                          const std::wstring& startText, const std::wstring& nodeSelection,
                          std::uint32_t startArg3, AccelResultCallback callback) {
  SetAccelResultCallback(std::move(callback));
  const NodeSelection selection = ParseNodeSelection(nodeSelection);
  const auto start = kernelFunctions.get<KernelFunction::Kernel_StartAccel>();
  if (start == nullptr) return false;
  return start(impl_.get(), startArg1, startArg2, startText.c_str(), selection.isAuto ? 1 : 0,
               FormatNodeList(selection.nodes).c_str(), startArg3, OnAccelResult) != 0;
}

bool AccelSdk::StartAccelEx(std::uint32_t startArg1, std::uint32_t startArg2,
                            const std::wstring& startText, const std::wstring& nodeSelection,
                            std::uint32_t startArg3, std::uint32_t startArg4,
                            AccelResultCallback callback) {
  SetAccelResultCallback(std::move(callback));
  const NodeSelection selection = ParseNodeSelection(nodeSelection);
  const auto start = kernelFunctions.get<KernelFunction::Kernel_StartAccelEx>();
  if (start == nullptr) return false;
  return start(impl_.get(), startArg1, startArg2, startText.c_str(), selection.isAuto ? 1 : 0,
               FormatNodeList(selection.nodes).c_str(), startArg3, startArg4, OnAccelResult) != 0;
}

bool AccelSdk::StopAccel(CodeResultCallback callback) {
  if (!callback) return false;
  {
    const std::lock_guard lock(impl_->mutex);
    impl_->stopResultCallback = callback;
    stopResultHandler.install(std::move(callback));
  }
  const auto stop = kernelFunctions.get<KernelFunction::Kernel_StopAccel>();
  if (stop == nullptr) return false;
  return stop(nullptr, OnStopResult) != 0;
}

}  // namespace orva_accelerator::sdk
