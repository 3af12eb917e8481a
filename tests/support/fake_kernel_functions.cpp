#include "tests/support/fake_kernel_functions.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cwchar>
#include <map>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>

#include "sdk/kernel_function_names.h"
#include "tests/support/fake_kernel.h"

namespace orva_accelerator::test {
namespace {

using sdk::KernelBool;

std::atomic<FakeKernel*> current{nullptr};

std::string quoted(const wchar_t* text) {
  if (text == nullptr) return "null";
  const int length = static_cast<int>(std::wcslen(text));
  std::string utf8(static_cast<std::size_t>(length) * 3, '\0');
  if (length != 0) {
    const int converted = WideCharToMultiByte(CP_UTF8, 0, text, length, utf8.data(),
                                              static_cast<int>(utf8.size()), nullptr, nullptr);
    utf8.resize(static_cast<std::size_t>(converted));
  }
  return '"' + utf8 + '"';
}

// The arguments of one call as they are recorded; those that carry no information are left out.
class Arguments {
 public:
  template <typename Argument>
  void add(Argument argument) {
    if constexpr (std::is_arithmetic_v<Argument>) {
      addShown(std::to_string(argument));
    } else if constexpr (std::is_same_v<Argument, const wchar_t*>) {
      addShown(quoted(argument));
    } else if constexpr (isOneOf<Argument, sdk::ServerRecord*, sdk::NodeRecord*,
                                 sdk::UsedNodeRecord*, sdk::TestSpeedEntry*>) {
      isList_ = true;
      addShown(argument == nullptr ? "null" : "array");
    } else if constexpr (std::is_same_v<Argument, std::uint32_t*>) {
      // The count of a list. Other numbers that the library is to fill in hold nothing yet.
      if (isList_) addShown(argument == nullptr ? "null" : std::to_string(*argument));
    }
  }

  const std::string& shown() const { return shown_; }

 private:
  template <typename Argument, typename... Others>
  static constexpr bool isOneOf = (std::is_same_v<Argument, Others> || ...);

  void addShown(const std::string& argument) {
    if (!shown_.empty()) shown_ += ", ";
    shown_ += argument;
  }

  std::string shown_;
  bool isList_ = false;
};

// What the service hands over with a request.
void check(void* context, sdk::KernelCodeCompletion completion) {
  EXPECT_EQ(context, nullptr);
  EXPECT_NE(completion, nullptr);
}

}  // namespace

void setCurrentFakeKernel(FakeKernel* kernel) {
  current = kernel;
}
FakeKernel* currentFakeKernel() {
  return current;
}

// A friend of FakeKernel, whose lock and records it uses.
struct FakeKernelFunctions {
  // The function that behaves as `Member` of the one FakeKernel says.
  template <typename Function, auto Member>
  struct Scripted;
  template <typename... Parameters, auto Member>
  struct Scripted<KernelBool (*)(Parameters...), Member> {
    static inline const char* name = nullptr;

    static KernelBool call(Parameters... parameters) {
      FakeKernel* const kernel = current;
      if (kernel == nullptr) return 0;
      keep(*kernel, std::tuple(parameters...));
      Arguments arguments;
      (arguments.add(parameters), ...);
      kernel->record(std::string(name) + "(" + arguments.shown() + ")");
      const auto& script = kernel->*Member;
      return script ? script(parameters...) : KernelBool{0};
    }
  };

  template <typename Function, auto Member>
  static FARPROC scripted(const char* name) {
    Scripted<Function, Member>::name = name;
    return reinterpret_cast<FARPROC>(
        reinterpret_cast<void (*)()>(&Scripted<Function, Member>::call));
  }

  // For the names that the service resolves and must never call.
  static KernelBool neverCalled(const char* name) {
    ADD_FAILURE() << name << " is not to be called";
    if (FakeKernel* const kernel = current) kernel->record(std::string(name) + "()");
    return 0;
  }

 private:
  template <typename... Parameters>
  static void keep(FakeKernel& /*kernel*/, const std::tuple<Parameters...>& /*parameters*/) {}
  static void keep(
      FakeKernel& kernel,
      const std::tuple<void*, const wchar_t*, const wchar_t*, sdk::KernelCodeCompletion>& login) {
    check(std::get<0>(login), std::get<3>(login));
    const SpinGuard guard(kernel.lock_);
    kernel.loginCompletion_ = std::get<3>(login);
  }
  static void keep(FakeKernel& kernel, const std::tuple<void*, sdk::KernelCodeCompletion>& stop) {
    check(std::get<0>(stop), std::get<1>(stop));
    const SpinGuard guard(kernel.lock_);
    kernel.stopCompletion_ = std::get<1>(stop);
  }
  template <typename... Others>
  static void keep(FakeKernel& kernel,
                   const std::tuple<void*, std::uint32_t, std::uint32_t, Others...>& start) {
    const auto completion = std::get<sdk::KernelAccelCompletion>(start);
    EXPECT_NE(completion, nullptr);
    const SpinGuard guard(kernel.lock_);
    kernel.accelContext_ = std::get<0>(start);
    kernel.accelCompletion_ = completion;
  }
};

namespace {

std::map<std::string_view, FARPROC> allFunctions() {
  std::map<std::string_view, FARPROC> functions = {
#define ORVA_FAKE(name, ...) \
  {#name, FakeKernelFunctions::scripted<sdk::signature::name, &FakeKernel::name>(#name)},
      ORVA_CALLED_KERNEL_FUNCTIONS(ORVA_FAKE)
#undef ORVA_FAKE
  };
#define ORVA_FAKE(name)                                                                \
  functions.try_emplace(#name, reinterpret_cast<FARPROC>(reinterpret_cast<void (*)()>( \
                                   +[] { return FakeKernelFunctions::neverCalled(#name); })));
  ORVA_KERNEL_FUNCTIONS(ORVA_FAKE)
#undef ORVA_FAKE
  return functions;
}

}  // namespace

FARPROC fakeKernelFunction(const char* name) {
  static const auto functions = allFunctions();
  const auto found = functions.find(name);
  return found == functions.end() ? nullptr : found->second;
}

}  // namespace orva_accelerator::test
