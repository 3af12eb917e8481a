#include "sdk/accel_sdk.h"
#include "sdk/kernel_function_table.h"

namespace orva_accelerator::sdk {

bool AccelSdk::UserLoginFromAccount(const std::wstring& account, const std::wstring& credential,
                                    CodeResultCallback callback) {
  if (!callback) return false;
  const auto login = kernelFunctions.get<KernelFunction::Kernel_UserLoginFromAccount>();
  if (login == nullptr) return false;
  if (login(nullptr, account.c_str(), credential.c_str(), OnLoginResult) == 0) return false;
  loginResultHandler.install(std::move(callback));
  return true;
}

}  // namespace orva_accelerator::sdk
