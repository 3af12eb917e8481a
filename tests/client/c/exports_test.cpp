// The DLL as it is shipped: it exports what the header declares, no more and no less.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstdint>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <string>

#include "tests/support/child_process.h"
#include "win32/unique_handle.h"

namespace orva_accelerator::test {
namespace {

// Every name before an opening parenthesis; comments do not count.
std::set<std::string> declaredFunctions() {
  std::ifstream header(ORVA_C_HEADER);
  std::ostringstream code;
  for (std::string line; std::getline(header, line);)
    code << line.substr(0, line.find("//")) << '\n';
  const std::string text = code.str();
  const std::regex function(R"((orva_\w+)\s*\()");
  std::set<std::string> names;
  for (std::sregex_iterator it(text.begin(), text.end(), function), end; it != end; ++it) {
    names.insert((*it)[1]);
  }
  return names;
}

std::set<std::string> exportsOf(HMODULE module) {
  const auto* base = reinterpret_cast<const std::uint8_t*>(module);
  const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
  const auto* headers =
      reinterpret_cast<const IMAGE_NT_HEADERS64*>(base + static_cast<DWORD>(dos->e_lfanew));
  const IMAGE_DATA_DIRECTORY& entry =
      headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
  const auto* directory =
      reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(base + entry.VirtualAddress);
  // Nothing is exported by its number alone.
  EXPECT_EQ(directory->NumberOfFunctions, directory->NumberOfNames);
  const auto* nameOffsets = reinterpret_cast<const DWORD*>(base + directory->AddressOfNames);
  std::set<std::string> names;
  for (DWORD i = 0; i < directory->NumberOfNames; ++i) {
    names.insert(reinterpret_cast<const char*>(base + nameOffsets[i]));
  }
  return names;
}

class ClientDll : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(module_) << GetLastError(); }

  win32::UniqueModule module_{LoadLibraryW(shippedFile(L"OrvaClient.dll").c_str())};
};

TEST_F(ClientDll, ExportsExactlyWhatTheHeaderDeclares) {
  const std::set<std::string> declared = declaredFunctions();
  EXPECT_TRUE(declared.contains("orva_client_connect"));
  EXPECT_EQ(exportsOf(module_.get()), declared);
}

TEST_F(ClientDll, CanBeUsedWithoutItsHeader) {
  const auto text = reinterpret_cast<const char* (*)(std::int32_t)>(
      reinterpret_cast<void*>(GetProcAddress(module_.get(), "orva_code_text")));
  ASSERT_NE(text, nullptr);
  EXPECT_STREQ(text(11), "out of memory");
}

}  // namespace
}  // namespace orva_accelerator::test
