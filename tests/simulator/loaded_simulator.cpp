#include "tests/simulator/loaded_simulator.h"

#include <atomic>
#include <system_error>

#include "tests/support/bounded_wait.h"

namespace orva_accelerator::test {
namespace {

std::filesystem::path makeFolder() {
  static std::atomic<unsigned> made = 0;
  // Not ASCII on purpose: a player's folders are not either.
  const std::wstring name = L"orva_simulator_加速_" + std::to_wstring(GetCurrentProcessId()) +
                            L"_" + std::to_wstring(GetTickCount64()) + L"_" +
                            std::to_wstring(++made);
  const std::filesystem::path path = std::filesystem::temp_directory_path() / name;
  std::filesystem::create_directories(path);
  return path;
}

}  // namespace

LoadedSimulator::LoadedSimulator() : path_(makeFolder()), folder(path_) {}

LoadedSimulator::~LoadedSimulator() {
  unload();
  // The library's threads keep it loaded until they have been idle for a while, and the folder
  // cannot be deleted before. A library that never completes would only leave its folder behind.
  (void)waitUntil([this] { return !loaded(); }, std::chrono::seconds(3));
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

void LoadedSimulator::load(std::string_view variant) {
  folder.copyLibrary(variant);
  module_ = LoadLibraryW(folder.library().c_str());
  ASSERT_NE(module_, nullptr) << GetLastError();
}

void LoadedSimulator::unload() {
  if (module_ == nullptr) return;
  EXPECT_TRUE(FreeLibrary(module_));
  module_ = nullptr;
}

}  // namespace orva_accelerator::test
