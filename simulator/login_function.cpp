// Login: succeeds a moment later for everybody who names an account and a credential.
#include "simulator/call.h"
#include "simulator/deliveries.h"
#include "simulator/exports.h"

using orva_accelerator::sdk::KernelBool;
using orva_accelerator::sdk::KernelCodeCompletion;
using namespace orva_accelerator::simulator;

namespace {

constexpr std::int32_t kCodeIncomplete = 1001;
// As one that asks a server would: the service notes whom to tell of the outcome only when the call
// has returned, and a busy computer may hold it up for a while.
constexpr std::uint32_t kUsualDelayMs = 250;

bool isGiven(const wchar_t* text) {
  return text != nullptr && *text != L'\0';
}

std::vector<CompletionStep> usualSteps(const wchar_t* account, const wchar_t* credential) {
  CompletionStep step;
  step.afterMs = kUsualDelayMs;
  step.code = isGiven(account) && isGiven(credential) ? 0 : kCodeIncomplete;
  return {step};
}

}  // namespace

extern "C" KernelBool Kernel_UserLoginFromAccount(void* context, const wchar_t* account,
                                                  const wchar_t* credential,
                                                  KernelCodeCompletion completion) {
  return guarded([&] {
    const Call call("Kernel_UserLoginFromAccount");
    call.log()
        .pointer("context", context != nullptr)
        .text("account", account)
        .text("credential", credential)
        .pointer("completion", completion != nullptr)
        .write();
    call.raiseIfAsked();
    if (call.accepted() && completion != nullptr) {
      const auto deliver = [context, completion](const CompletionStep& step) {
        LogEntry("completion", "Kernel_UserLoginFromAccount").number("code", step.code).write();
        completion(context, step.code, nullptr);
      };
      const auto& given = call.behaviour().completions;
      deliverSteps(given ? *given : usualSteps(account, credential), deliver, nullptr);
    }
    return call.finish();
  });
}
