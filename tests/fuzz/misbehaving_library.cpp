#include "tests/fuzz/misbehaving_library.h"

#include <cstddef>
#include <cstring>
#include <cwchar>
#include <iterator>
#include <string_view>
#include <unordered_map>

#include "sdk/kernel_api.h"
#include "sdk/kernel_function_table.h"

namespace orva_accelerator::fuzz {
namespace {

using namespace sdk;

std::uint64_t state = 0;
KernelCodeCompletion lastCodeCompletion = nullptr;
KernelAccelCompletion lastAccelCompletion = nullptr;

std::uint64_t next() {
  state += 0x9E3779B97F4A7C15ULL;
  std::uint64_t word = state;
  word = (word ^ (word >> 30)) * 0xBF58476D1CE4E5B9ULL;
  word = (word ^ (word >> 27)) * 0x94D049BB133111EBULL;
  return word ^ (word >> 31);
}
bool oneIn(std::uint64_t chances) {
  return next() % chances == 0;
}
std::uint32_t word32() {
  return static_cast<std::uint32_t>(next());
}
KernelBool answer() {
  return oneIn(4) ? KernelBool{0} : static_cast<KernelBool>(1 + next() % 255);
}

// Anything, with or without a terminator.
void scribble(void* memory, std::size_t size) {
  auto* bytes = static_cast<std::uint8_t*>(memory);
  const auto fill = static_cast<std::uint8_t>(next());
  std::memset(bytes, fill, size);
  for (std::size_t i = 0; i < 8 && size != 0; ++i) {
    bytes[next() % size] = static_cast<std::uint8_t>(oneIn(2) ? 0 : next());
  }
}
template <typename Record>
KernelBool giveRecord(Record* record) {
  if (!oneIn(8)) scribble(record, sizeof(Record));
  return answer();
}

template <typename Record>
KernelBool giveList(Record* records, std::uint32_t* count) {
  constexpr std::uint32_t kCounts[] = {0, 1, 2, 5, 40, 0xFFFFFFFF};
  if (records != nullptr && *count < 0xFFFF) scribble(records, *count * sizeof(Record));
  *count = kCounts[next() % std::size(kCounts)];
  return answer();
}

void complete(KernelCodeCompletion completion) {
  lastCodeCompletion = completion;
  for (std::uint64_t times = next() % 3; times > 0; --times) {
    completion(nullptr, oneIn(2) ? 0 : static_cast<int>(word32()), nullptr);
  }
}
void complete(KernelAccelCompletion completion) {
  lastAccelCompletion = completion;
  static const std::wstring_view kTexts[] = {L"", L"text", L"\xD800\xDC00\xDFFF"};
  for (std::uint64_t times = next() % 3; times > 0; --times) {
    if (oneIn(8)) completion(nullptr, nullptr, nullptr);
    KernelAccelResult result = {};
    scribble(&result, sizeof result);
    result.state = static_cast<std::uint32_t>(next() % 10);
    result.text1 = oneIn(3) ? nullptr : kTexts[next() % std::size(kTexts)].data();
    result.text2 = oneIn(3) ? nullptr : kTexts[next() % std::size(kTexts)].data();
    completion(nullptr, nullptr, &result);
  }
}

// Reads a text as a library would that believes its caller.
void readText(const wchar_t* text) {
  if (text != nullptr && std::wcslen(text) == ~std::size_t{0}) state = 0;
}

KernelBool init(const wchar_t* path) {
  readText(path);
  return answer();
}
KernelBool setSdkChannelNumber(std::uint32_t, std::uint32_t, const wchar_t* name) {
  readText(name);
  return answer();
}
KernelBool userLogin(void*, const wchar_t* account, const wchar_t* credential,
                     KernelCodeCompletion completion) {
  readText(account);
  readText(credential);
  complete(completion);
  return answer();
}
KernelBool startAccel(void*, std::uint32_t, std::uint32_t, const wchar_t* text, KernelBool,
                      const wchar_t* nodes, std::uint32_t, KernelAccelCompletion completion) {
  readText(text);
  readText(nodes);
  complete(completion);
  return answer();
}
KernelBool startAccelEx(void* context, std::uint32_t arg1, std::uint32_t arg2, const wchar_t* text,
                        KernelBool isAuto, const wchar_t* nodes, std::uint32_t arg3, std::uint32_t,
                        KernelAccelCompletion completion) {
  return startAccel(context, arg1, arg2, text, isAuto, nodes, arg3, completion);
}
KernelBool stopAccel(void*, KernelCodeCompletion completion) {
  complete(completion);
  return answer();
}
KernelBool gameData(std::uint32_t, GameDataRecord* record) {
  return giveRecord(record);
}
KernelBool lastAccelInfo(std::uint32_t, std::uint32_t* areaId, wchar_t* infoText,
                         std::uint32_t infoTextCapacity, wchar_t* serverKey,
                         std::uint32_t serverKeyCapacity, std::uint32_t* nodeId,
                         std::uint8_t* infoFlag, std::uint32_t* infoValue) {
  *areaId = word32();
  *nodeId = word32();
  *infoFlag = static_cast<std::uint8_t>(next());
  *infoValue = word32();
  scribble(infoText, infoTextCapacity * sizeof(wchar_t));
  scribble(serverKey, serverKeyCapacity * sizeof(wchar_t));
  return answer();
}
KernelBool serverList(std::uint32_t, std::uint32_t, ServerRecord* records, std::uint32_t* count) {
  return giveList(records, count);
}
KernelBool nodeList(std::uint32_t, std::uint32_t, const wchar_t* serverKey, NodeRecord* records,
                    std::uint32_t* count) {
  readText(serverKey);
  return giveList(records, count);
}
KernelBool usedNodeList(std::uint32_t, UsedNodeRecord* records, std::uint32_t* count) {
  return giveList(records, count);
}
KernelBool testSpeed(std::uint32_t, std::uint32_t, const wchar_t* serverKey, std::uint32_t,
                     TestSpeedSummary* summary, TestSpeedEntry* entries, std::uint32_t* count) {
  readText(serverKey);
  scribble(summary, sizeof *summary);
  return giveList(entries, count);
}
KernelBool uncalled() {
  return 0;
}

template <typename Function>
FARPROC entry(Function* function) {
  return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(function));
}

// By name, all that the library has.
std::unordered_map<std::string_view, FARPROC> allFunctions() {
  std::unordered_map<std::string_view, FARPROC> functions = {
      {"Kernel_Init", entry(init)},
      {"Kernel_SetSdkChannelNumber", entry(setSdkChannelNumber)},
      {"Kernel_UserLoginFromAccount", entry(userLogin)},
      {"Kernel_StartAccel", entry(startAccel)},
      {"Kernel_StartAccelEx", entry(startAccelEx)},
      {"Kernel_StopAccel", entry(stopAccel)},
      {"Kernel_GetAccelData", entry(giveRecord<AccelDataRecord>)},
      {"Kernel_GetConsoleData", entry(giveRecord<ConsoleDataRecord>)},
      {"Kernel_GetGameDataFromGameID", entry(gameData)},
      {"Kernel_GetGameLastAccelInfo", entry(lastAccelInfo)},
      {"Kernel_GetGameServerDataList", entry(serverList)},
      {"Kernel_GetGameNodeDataList", entry(nodeList)},
      {"Kernel_GetGameUsedNodeDataList", entry(usedNodeList)},
      {"Kernel_GetTestSpeedData_V2", entry(testSpeed)},
  };
  for (const char* const name : kKernelFunctionNames) functions.try_emplace(name, entry(uncalled));
  return functions;
}

}  // namespace

FARPROC libraryFunction(const char* name) {
  static const auto functions = allFunctions();
  const auto found = functions.find(name);
  return found == functions.end() ? nullptr : found->second;
}

void seedLibrary(std::uint64_t seed) {
  state = seed;
  lastCodeCompletion = nullptr;
  lastAccelCompletion = nullptr;
}

void completeLate() {
  if (lastCodeCompletion != nullptr && oneIn(4)) complete(lastCodeCompletion);
  if (lastAccelCompletion != nullptr && oneIn(4)) complete(lastAccelCompletion);
}

}  // namespace orva_accelerator::fuzz
