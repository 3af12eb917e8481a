// Login, start and stop: what the library answers later, through the completion functions.

#include "sdk/accel_sdk.h"
#include "sdk/accel_sdk_impl.h"
#include "sdk/kernel_function_table.h"
#include "sdk/node_selection.h"

namespace orva_accelerator::sdk {

namespace {

// What both starts do once their callback is installed. `lastArguments` are those behind the nodes.
template <KernelFunction Start, typename... LastArguments>
bool start(AccelSdkImpl* context, std::uint32_t startArg1, std::uint32_t startArg2,
           const std::wstring& startText, const std::wstring& nodeSelection,
           LastArguments... lastArguments) {
  const NodeSelection selection = ParseNodeSelection(nodeSelection);
  const KernelBool isAuto = selection.isAuto ? 1 : 0;
  return kernelFunctions.call<Start>(context, startArg1, startArg2, startText.c_str(), isAuto,
                                     formatNodeList(selection.nodes).c_str(), lastArguments...,
                                     OnAccelResult);
}

}  // namespace

bool AccelSdk::UserLoginFromAccount(const std::wstring& account, const std::wstring& credential,
                                    CodeResultCallback callback) {
  if (!callback) return false;
  if (!kernelFunctions.call<KernelFunction::Kernel_UserLoginFromAccount>(
          nullptr, account.c_str(), credential.c_str(), OnLoginResult)) {
    return false;
  }
  loginResultHandler.install(std::move(callback));
  return true;
}

void AccelSdk::SetAccelResultCallback(AccelResultCallback callback) {
  impl_->SetAccelResultCallback(std::move(callback));
}

bool AccelSdk::StartAccel(std::uint32_t startArg1, std::uint32_t startArg2,
                          const std::wstring& startText, const std::wstring& nodeSelection,
                          std::uint32_t startArg3, AccelResultCallback callback) {
  SetAccelResultCallback(std::move(callback));
  return start<KernelFunction::Kernel_StartAccel>(impl_.get(), startArg1, startArg2, startText,
                                                  nodeSelection, startArg3);
}

bool AccelSdk::StartAccelEx(std::uint32_t startArg1, std::uint32_t startArg2,
                            const std::wstring& startText, const std::wstring& nodeSelection,
                            std::uint32_t startArg3, std::uint32_t startArg4,
                            AccelResultCallback callback) {
  SetAccelResultCallback(std::move(callback));
  return start<KernelFunction::Kernel_StartAccelEx>(impl_.get(), startArg1, startArg2, startText,
                                                    nodeSelection, startArg3, startArg4);
}

bool AccelSdk::StopAccel(CodeResultCallback callback) {
  if (!callback) return false;
  impl_->SetStopResultCallback(std::move(callback));
  return kernelFunctions.call<KernelFunction::Kernel_StopAccel>(nullptr, OnStopResult);
}

}  // namespace orva_accelerator::sdk
