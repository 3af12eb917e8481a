#include <gmock/gmock.h>

#include <algorithm>
#include <set>

#include "sdk/kernel_function_names.h"
#include "tests/simulator/loaded_simulator.h"

namespace orva_accelerator::test {
namespace {

#define ORVA_NAME(name) #name,
constexpr const char* allNames[] = {ORVA_KERNEL_FUNCTIONS(ORVA_NAME)};
#undef ORVA_NAME

const std::set<std::string> simulatedNames{
    "Kernel_Init",
    "Kernel_SetSdkChannelNumber",
    "Kernel_UserLoginFromAccount",
    "Kernel_StartAccel",
    "Kernel_StartAccelEx",
    "Kernel_StopAccel",
    "Kernel_GetAccelData",
    "Kernel_GetConsoleData",
    "Kernel_GetGameDataFromGameID",
    "Kernel_GetGameLastAccelInfo",
    "Kernel_GetGameServerDataList",
    "Kernel_GetGameNodeDataList",
    "Kernel_GetGameUsedNodeDataList",
    "Kernel_GetTestSpeedData_V2",
};

// The names in the export table of a loaded library.
std::set<std::string> exportedNames(const std::filesystem::path& library) {
  const HMODULE module = GetModuleHandleW(library.c_str());
  const auto* base = reinterpret_cast<const std::uint8_t*>(module);
  const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
  const auto* headers = reinterpret_cast<const IMAGE_NT_HEADERS64*>(base + dos->e_lfanew);
  const DWORD offset =
      headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT].VirtualAddress;
  const auto* table = reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(base + offset);
  EXPECT_EQ(table->NumberOfFunctions, table->NumberOfNames);
  const auto* names = reinterpret_cast<const DWORD*>(base + table->AddressOfNames);
  std::set<std::string> result;
  for (DWORD i = 0; i < table->NumberOfNames; ++i) {
    result.insert(reinterpret_cast<const char*>(base + names[i]));
  }
  return result;
}

std::set<std::string> namesWithout(const std::string& missing) {
  std::set<std::string> names(std::begin(allNames), std::end(allNames));
  names.erase(missing);
  return names;
}

class SimulatorExports : public LoadedSimulator {};

TEST_F(SimulatorExports, AreExactlyTheListedNames) {
  load();
  EXPECT_EQ(std::size(allNames), 101U);
  EXPECT_EQ(exportedNames(folder.library()), namesWithout(""));
}

TEST_F(SimulatorExports, LackOnlyTheLastNameInItsVariant) {
  load("OpenKernelWithoutLastName");
  EXPECT_EQ(exportedNames(folder.library()), namesWithout("Kernel_GetGameCollectNodeDataList"));
}

TEST_F(SimulatorExports, LackOnlyInitInItsVariant) {
  load("OpenKernelWithoutInit");
  EXPECT_EQ(exportedNames(folder.library()), namesWithout("Kernel_Init"));
}

TEST_F(SimulatorExports, WithoutBehaviourReturnZeroAndAreLogged) {
  load();
  std::vector<std::string> expected;
  for (const char* name : allNames) {
    if (simulatedNames.contains(name)) continue;
    expected.push_back("call " + std::string(name) + "()");
    EXPECT_EQ(get<std::uint64_t (*)()>(name)(), 0U) << name;
  }
  EXPECT_EQ(expected.size(), 87U);
  EXPECT_EQ(folder.logLinesStarting("call "), expected);
}

}  // namespace
}  // namespace orva_accelerator::test
