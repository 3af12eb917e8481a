#include "tests/support/fake_kernel_functions.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cwchar>
#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>

#include "sdk/kernel_function_names.h"
#include "tests/support/fake_kernel.h"

namespace orva_accelerator::test {
namespace {

using sdk::KernelBool;

std::atomic<FakeKernel*> current{nullptr};

std::string shown(std::uint32_t number) {
  return std::to_string(number);
}
std::string shown(KernelBool flag) {
  return std::to_string(flag);
}

std::string shown(const wchar_t* text) {
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

std::string shownList(const void* array, const std::uint32_t* count) {
  return std::string(array == nullptr ? "null" : "array") + ", " +
         (count == nullptr ? "null" : std::to_string(*count));
}

std::string callLine(const char* name, std::initializer_list<std::string> arguments = {}) {
  std::string line = std::string(name) + "(";
  const char* separator = "";
  for (const std::string& argument : arguments) {
    line += separator + argument;
    separator = ", ";
  }
  return line + ")";
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
  template <typename Script, typename... Arguments>
  static KernelBool run(const Script& script, Arguments... arguments) {
    return script ? script(arguments...) : KernelBool{0};
  }

  static KernelBool init(const wchar_t* path) {
    FakeKernel* const kernel = current;
    if (kernel == nullptr) return 0;
    kernel->record(callLine("Kernel_Init", {shown(path)}));
    return run(kernel->init, path);
  }

  static KernelBool setSdkChannelNumber(std::uint32_t id, std::uint32_t number,
                                        const wchar_t* name) {
    FakeKernel* const kernel = current;
    if (kernel == nullptr) return 0;
    kernel->record(callLine("Kernel_SetSdkChannelNumber", {shown(id), shown(number), shown(name)}));
    return run(kernel->setSdkChannelNumber, id, number, name);
  }

  static KernelBool userLoginFromAccount(void* context, const wchar_t* account,
                                         const wchar_t* credential,
                                         sdk::KernelCodeCompletion completion) {
    FakeKernel* const kernel = current;
    if (kernel == nullptr) return 0;
    EXPECT_EQ(context, nullptr);
    EXPECT_NE(completion, nullptr);
    {
      const SpinGuard guard(kernel->lock_);
      kernel->loginCompletion_ = completion;
    }
    kernel->record(callLine("Kernel_UserLoginFromAccount", {shown(account), shown(credential)}));
    return run(kernel->userLoginFromAccount, context, account, credential, completion);
  }

  static void keepStart(FakeKernel& kernel, void* context, sdk::KernelAccelCompletion completion) {
    EXPECT_NE(completion, nullptr);
    const SpinGuard guard(kernel.lock_);
    kernel.accelCompletion_ = completion;
    kernel.accelContext_ = context;
  }

  static KernelBool startAccel(void* context, std::uint32_t arg1, std::uint32_t arg2,
                               const wchar_t* text, KernelBool isAuto, const wchar_t* nodes,
                               std::uint32_t arg3, sdk::KernelAccelCompletion completion) {
    FakeKernel* const kernel = current;
    if (kernel == nullptr) return 0;
    keepStart(*kernel, context, completion);
    kernel->record(callLine("Kernel_StartAccel", {shown(arg1), shown(arg2), shown(text),
                                                  shown(isAuto), shown(nodes), shown(arg3)}));
    return run(kernel->startAccel, context, arg1, arg2, text, isAuto, nodes, arg3, completion);
  }

  static KernelBool startAccelEx(void* context, std::uint32_t arg1, std::uint32_t arg2,
                                 const wchar_t* text, KernelBool isAuto, const wchar_t* nodes,
                                 std::uint32_t arg3, std::uint32_t arg4,
                                 sdk::KernelAccelCompletion completion) {
    FakeKernel* const kernel = current;
    if (kernel == nullptr) return 0;
    keepStart(*kernel, context, completion);
    kernel->record(
        callLine("Kernel_StartAccelEx", {shown(arg1), shown(arg2), shown(text), shown(isAuto),
                                         shown(nodes), shown(arg3), shown(arg4)}));
    return run(kernel->startAccelEx, context, arg1, arg2, text, isAuto, nodes, arg3, arg4,
               completion);
  }

  static KernelBool stopAccel(void* context, sdk::KernelCodeCompletion completion) {
    FakeKernel* const kernel = current;
    if (kernel == nullptr) return 0;
    EXPECT_EQ(context, nullptr);
    EXPECT_NE(completion, nullptr);
    {
      const SpinGuard guard(kernel->lock_);
      kernel->stopCompletion_ = completion;
    }
    kernel->record(callLine("Kernel_StopAccel"));
    return run(kernel->stopAccel, context, completion);
  }

  static KernelBool getAccelData(sdk::AccelDataRecord* record) {
    FakeKernel* const kernel = current;
    if (kernel == nullptr) return 0;
    kernel->record(callLine("Kernel_GetAccelData"));
    return run(kernel->getAccelData, record);
  }

  static KernelBool getConsoleData(sdk::ConsoleDataRecord* record) {
    FakeKernel* const kernel = current;
    if (kernel == nullptr) return 0;
    kernel->record(callLine("Kernel_GetConsoleData"));
    return run(kernel->getConsoleData, record);
  }

  static KernelBool getGameDataFromGameID(std::uint32_t game, sdk::GameDataRecord* record) {
    FakeKernel* const kernel = current;
    if (kernel == nullptr) return 0;
    kernel->record(callLine("Kernel_GetGameDataFromGameID", {shown(game)}));
    return run(kernel->getGameDataFromGameID, game, record);
  }

  static KernelBool getGameLastAccelInfo(std::uint32_t game, std::uint32_t* area, wchar_t* text,
                                         std::uint32_t textCapacity, wchar_t* key,
                                         std::uint32_t keyCapacity, std::uint32_t* node,
                                         std::uint8_t* flag, std::uint32_t* value) {
    FakeKernel* const kernel = current;
    if (kernel == nullptr) return 0;
    kernel->record(callLine("Kernel_GetGameLastAccelInfo",
                            {shown(game), shown(textCapacity), shown(keyCapacity)}));
    return run(kernel->getGameLastAccelInfo, game, area, text, textCapacity, key, keyCapacity, node,
               flag, value);
  }

  static KernelBool getGameServerDataList(std::uint32_t game, std::uint32_t area,
                                          sdk::ServerRecord* records, std::uint32_t* count) {
    FakeKernel* const kernel = current;
    if (kernel == nullptr) return 0;
    kernel->record(callLine("Kernel_GetGameServerDataList",
                            {shown(game), shown(area), shownList(records, count)}));
    return run(kernel->getGameServerDataList, game, area, records, count);
  }

  static KernelBool getGameNodeDataList(std::uint32_t game, std::uint32_t area, const wchar_t* key,
                                        sdk::NodeRecord* records, std::uint32_t* count) {
    FakeKernel* const kernel = current;
    if (kernel == nullptr) return 0;
    kernel->record(callLine("Kernel_GetGameNodeDataList",
                            {shown(game), shown(area), shown(key), shownList(records, count)}));
    return run(kernel->getGameNodeDataList, game, area, key, records, count);
  }

  static KernelBool getGameUsedNodeDataList(std::uint32_t game, sdk::UsedNodeRecord* records,
                                            std::uint32_t* count) {
    FakeKernel* const kernel = current;
    if (kernel == nullptr) return 0;
    kernel->record(
        callLine("Kernel_GetGameUsedNodeDataList", {shown(game), shownList(records, count)}));
    return run(kernel->getGameUsedNodeDataList, game, records, count);
  }

  static KernelBool getTestSpeedDataV2(std::uint32_t game, std::uint32_t area, const wchar_t* key,
                                       std::uint32_t option, sdk::TestSpeedSummary* summary,
                                       sdk::TestSpeedEntry* entries, std::uint32_t* count) {
    FakeKernel* const kernel = current;
    if (kernel == nullptr) return 0;
    kernel->record(
        callLine("Kernel_GetTestSpeedData_V2",
                 {shown(game), shown(area), shown(key), shown(option), shownList(entries, count)}));
    return run(kernel->getTestSpeedDataV2, game, area, key, option, summary, entries, count);
  }

  // For the names that the service resolves and must never call.
  static KernelBool neverCalled(const char* name) {
    ADD_FAILURE() << name << " is not to be called";
    if (FakeKernel* const kernel = current) kernel->record(callLine(name));
    return 0;
  }
};

namespace {

#define ORVA_FAKE_UNUSED(name)                      \
  KernelBool unused_##name() {                      \
    return FakeKernelFunctions::neverCalled(#name); \
  }
ORVA_KERNEL_FUNCTIONS(ORVA_FAKE_UNUSED)
#undef ORVA_FAKE_UNUSED

struct NamedFunction {
  std::string_view name;
  void (*function)();
};

template <typename Function>
void (*erased(Function* function))() {
  return reinterpret_cast<void (*)()>(function);
}

FARPROC asFarProc(void (*function)()) {
  return reinterpret_cast<FARPROC>(function);
}

using F = FakeKernelFunctions;

// Each cast to its type first, so that a signature that differs from the library's is an error.
const NamedFunction kUsed[] = {
    {"Kernel_Init", erased<std::remove_pointer_t<sdk::KernelInit>>(&F::init)},
    {"Kernel_SetSdkChannelNumber",
     erased<std::remove_pointer_t<sdk::KernelSetSdkChannelNumber>>(&F::setSdkChannelNumber)},
    {"Kernel_UserLoginFromAccount",
     erased<std::remove_pointer_t<sdk::KernelUserLoginFromAccount>>(&F::userLoginFromAccount)},
    {"Kernel_StartAccel", erased<std::remove_pointer_t<sdk::KernelStartAccel>>(&F::startAccel)},
    {"Kernel_StartAccelEx",
     erased<std::remove_pointer_t<sdk::KernelStartAccelEx>>(&F::startAccelEx)},
    {"Kernel_StopAccel", erased<std::remove_pointer_t<sdk::KernelStopAccel>>(&F::stopAccel)},
    {"Kernel_GetAccelData",
     erased<std::remove_pointer_t<sdk::KernelGetAccelData>>(&F::getAccelData)},
    {"Kernel_GetConsoleData",
     erased<std::remove_pointer_t<sdk::KernelGetConsoleData>>(&F::getConsoleData)},
    {"Kernel_GetGameDataFromGameID",
     erased<std::remove_pointer_t<sdk::KernelGetGameDataFromGameID>>(&F::getGameDataFromGameID)},
    {"Kernel_GetGameLastAccelInfo",
     erased<std::remove_pointer_t<sdk::KernelGetGameLastAccelInfo>>(&F::getGameLastAccelInfo)},
    {"Kernel_GetGameServerDataList",
     erased<std::remove_pointer_t<sdk::KernelGetGameServerDataList>>(&F::getGameServerDataList)},
    {"Kernel_GetGameNodeDataList",
     erased<std::remove_pointer_t<sdk::KernelGetGameNodeDataList>>(&F::getGameNodeDataList)},
    {"Kernel_GetGameUsedNodeDataList",
     erased<std::remove_pointer_t<sdk::KernelGetGameUsedNodeDataList>>(
         &F::getGameUsedNodeDataList)},
    {"Kernel_GetTestSpeedData_V2",
     erased<std::remove_pointer_t<sdk::KernelGetTestSpeedDataV2>>(&F::getTestSpeedDataV2)},
};

const NamedFunction kUnused[] = {
#define ORVA_FAKE_ENTRY(name) {#name, erased(&unused_##name)},
    ORVA_KERNEL_FUNCTIONS(ORVA_FAKE_ENTRY)
#undef ORVA_FAKE_ENTRY
};

}  // namespace

FARPROC fakeKernelFunction(const char* name) {
  for (const NamedFunction& used : kUsed) {
    if (used.name == name) return asFarProc(used.function);
  }
  for (const NamedFunction& unused : kUnused) {
    if (unused.name == name) return asFarProc(unused.function);
  }
  return nullptr;
}

}  // namespace orva_accelerator::test
