#include "bench/micro/instant_library.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "bench/micro/import_patch.h"
#include "sdk/accel_sdk.h"
#include "sdk/kernel_function_table.h"

namespace orva_accelerator::bench {

namespace {

using sdk::KernelBool;
using sdk::KernelFunction;

LibraryAnswers answers;

template <std::size_t Units>
void setText(wchar_t (&array)[Units]) {
  std::copy_n(answers.text.begin(), std::min(Units, answers.text.size()), array);
}
void setText(wchar_t* array, std::uint32_t capacity) {
  const auto units = std::min<std::size_t>(capacity - 1, answers.text.size());
  std::memcpy(array, answers.text.data(), units * sizeof(wchar_t));
}

KernelBool init(const wchar_t*) {
  return 1;
}
KernelBool setChannel(std::uint32_t, std::uint32_t, const wchar_t*) {
  return 1;
}
KernelBool login(void*, const wchar_t*, const wchar_t*, sdk::KernelCodeCompletion) {
  return 1;
}
KernelBool start(void*, std::uint32_t, std::uint32_t, const wchar_t*, KernelBool, const wchar_t*,
                 std::uint32_t, sdk::KernelAccelCompletion) {
  return 1;
}
KernelBool startEx(void*, std::uint32_t, std::uint32_t, const wchar_t*, KernelBool, const wchar_t*,
                   std::uint32_t, std::uint32_t, sdk::KernelAccelCompletion) {
  return 1;
}
KernelBool stop(void*, sdk::KernelCodeCompletion) {
  return 1;
}
KernelBool accelData(sdk::AccelDataRecord* record) {
  setText(record->text3);
  return 1;
}
KernelBool consoleData(sdk::ConsoleDataRecord*) {
  return 1;
}
KernelBool game(std::uint32_t, sdk::GameDataRecord* record) {
  setText(record->gameText);
  return 1;
}
KernelBool lastAccel(std::uint32_t, std::uint32_t*, wchar_t* text, std::uint32_t textCapacity,
                     wchar_t* key, std::uint32_t keyCapacity, std::uint32_t* node, std::uint8_t*,
                     std::uint32_t*) {
  setText(text, textCapacity);
  setText(key, keyCapacity);
  *node = 1;
  return 1;
}
KernelBool servers(std::uint32_t, std::uint32_t, sdk::ServerRecord* records, std::uint32_t* count) {
  *count = 1;
  if (records == nullptr) return 1;
  setText(records->serverKey);
  setText(records->serverText);
  return 1;
}
KernelBool nodes(std::uint32_t, std::uint32_t, const wchar_t*, sdk::NodeRecord* records,
                 std::uint32_t* count) {
  *count = 1;
  if (records == nullptr) return 1;
  records->nodeId = 1;
  setText(records->nodeText);
  return 1;
}
KernelBool usedNodes(std::uint32_t, sdk::UsedNodeRecord* records, std::uint32_t* count) {
  *count = answers.usedNodes;
  if (records == nullptr) return 1;
  for (std::uint32_t i = 0; i < *count; ++i) {
    setText(records[i].usedText1);
    setText(records[i].usedText2);
  }
  return 1;
}
KernelBool speedTest(std::uint32_t, std::uint32_t, const wchar_t*, std::uint32_t,
                     sdk::TestSpeedSummary* summary, sdk::TestSpeedEntry* entries,
                     std::uint32_t* count) {
  summary->summary[0] = 1;
  *count = 1;
  if (entries != nullptr) entries->words[0] = 1;
  return 1;
}
KernelBool uncalled() {
  return 0;
}

template <typename Function>
FARPROC toEntry(Function* function) {
  return reinterpret_cast<FARPROC>(reinterpret_cast<void (*)()>(function));
}

template <KernelFunction F>
void use(typename sdk::KernelSignature<F>::Type function) {
  sdk::kernelFunctions.set(static_cast<std::size_t>(F), toEntry(function));
}

HMODULE WINAPI loadThisProgram(LPCWSTR) {
  return GetModuleHandleW(nullptr);
}
FARPROC WINAPI findNothingUseful(HMODULE, LPCSTR) {
  return toEntry(uncalled);
}

}  // namespace

void setLibraryAnswers(const LibraryAnswers& newAnswers) {
  answers = newAnswers;
}

void useInstantLibrary() {
  {
    const ImportPatch load("LoadLibraryW", reinterpret_cast<void*>(loadThisProgram));
    const ImportPatch find("GetProcAddress", reinterpret_cast<void*>(findNothingUseful));
    if (sdk::AccelSdk::Instance().Init({}) != sdk::SdkInitialised) {
      throw std::runtime_error("the binding cannot be initialised");
    }
  }
  use<KernelFunction::Kernel_Init>(init);
  use<KernelFunction::Kernel_SetSdkChannelNumber>(setChannel);
  use<KernelFunction::Kernel_UserLoginFromAccount>(login);
  use<KernelFunction::Kernel_StartAccel>(start);
  use<KernelFunction::Kernel_StartAccelEx>(startEx);
  use<KernelFunction::Kernel_StopAccel>(stop);
  use<KernelFunction::Kernel_GetAccelData>(accelData);
  use<KernelFunction::Kernel_GetConsoleData>(consoleData);
  use<KernelFunction::Kernel_GetGameDataFromGameID>(game);
  use<KernelFunction::Kernel_GetGameLastAccelInfo>(lastAccel);
  use<KernelFunction::Kernel_GetGameServerDataList>(servers);
  use<KernelFunction::Kernel_GetGameNodeDataList>(nodes);
  use<KernelFunction::Kernel_GetGameUsedNodeDataList>(usedNodes);
  use<KernelFunction::Kernel_GetTestSpeedData_V2>(speedTest);
}

}  // namespace orva_accelerator::bench
