// What the shipped files tell Windows about themselves.
#include <gmock/gmock.h>
#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include "tests/support/child_process.h"
#include "win32/unique_handle.h"

namespace orva_accelerator::test {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr wchar_t kVersion[] = L"" ORVA_VERSION;
constexpr char kVersionUtf8[] = ORVA_VERSION;

struct ShippedProgram {
  const wchar_t* file;
  DWORD type;
  WORD manifestId;
  const wchar_t* description;
  const wchar_t* chineseDescription;
};

void PrintTo(const ShippedProgram& program, std::ostream* out) {
  *out << std::filesystem::path(program.file).filename().string();
}

constexpr ShippedProgram kPrograms[] = {
    {L"OrvaAcceleratorService.exe", VFT_APP, 1, L"Orva Accelerator Service",
     L"Orva \x6E38\x620F\x52A0\x901F\x5668\x540E\x53F0\x670D\x52A1"},
    {L"orvactl.exe", VFT_APP, 1, L"Orva Accelerator Service command line",
     L"Orva \x6E38\x620F\x52A0\x901F\x5668\x547D\x4EE4\x884C\x5DE5\x5177"},
    {L"orvactl-dev.exe", VFT_APP, 1, L"Orva Accelerator Service command line for developers",
     L"Orva \x6E38\x620F\x52A0\x901F\x5668\x5F00\x53D1\x8005\x547D\x4EE4\x884C\x5DE5\x5177"},
    {L"OrvaClient.dll", VFT_DLL, 2, L"Orva Accelerator Service client library",
     L"Orva \x6E38\x620F\x52A0\x901F\x5668\x5BA2\x6237\x7AEF\x5E93"},
    {L"accel_sdk\\sdk_x64\\OpenKernel.dll", VFT_DLL, 2,
     L"Simulated acceleration library for development",
     L"\x7528\x4E8E\x5F00\x53D1\x7684\x6A21\x62DF\x52A0\x901F\x5E93"},
};

class FileResources : public testing::TestWithParam<ShippedProgram> {
 protected:
  static std::wstring path() { return shippedFile(GetParam().file); }

  void SetUp() override {
    DWORD ignored = 0;
    const DWORD size = GetFileVersionInfoSizeW(path().c_str(), &ignored);
    ASSERT_NE(size, 0u) << "no version resource";
    block_.resize(size);
    ASSERT_TRUE(GetFileVersionInfoW(path().c_str(), 0, size, block_.data()));
  }

  std::wstring text(const std::wstring& language, const std::wstring& name) const {
    void* value = nullptr;
    UINT length = 0;
    const std::wstring key = L"\\StringFileInfo\\" + language + L"\\" + name;
    if (!VerQueryValueW(block_.data(), key.c_str(), &value, &length)) return L"(missing)";
    return static_cast<const wchar_t*>(value);
  }

  const VS_FIXEDFILEINFO* fixedPart() const {
    void* value = nullptr;
    UINT length = 0;
    if (!VerQueryValueW(block_.data(), L"\\", &value, &length)) return nullptr;
    return length >= sizeof(VS_FIXEDFILEINFO) ? static_cast<const VS_FIXEDFILEINFO*>(value)
                                              : nullptr;
  }

 private:
  std::vector<std::byte> block_;
};

TEST_P(FileResources, NameProductFileAndVersion) {
  for (const wchar_t* language : {L"040904B0", L"080404B0"}) {
    EXPECT_EQ(text(language, L"ProductName"), L"Orva Accelerator Service");
    EXPECT_EQ(text(language, L"ProductVersion"), kVersion);
    EXPECT_EQ(text(language, L"FileVersion"), kVersion);
    EXPECT_EQ(text(language, L"OriginalFilename"),
              std::filesystem::path(GetParam().file).filename().wstring());
  }
}

TEST_P(FileResources, DescribeTheFileInBothLanguages) {
  EXPECT_EQ(text(L"040904B0", L"FileDescription"), GetParam().description);
  EXPECT_EQ(text(L"080404B0", L"FileDescription"), GetParam().chineseDescription);
}

TEST_P(FileResources, HaveTheSameVersionInNumbers) {
  const VS_FIXEDFILEINFO* fixed = fixedPart();
  ASSERT_NE(fixed, nullptr);
  const std::wstring numbers = std::to_wstring(HIWORD(fixed->dwFileVersionMS)) + L"." +
                               std::to_wstring(LOWORD(fixed->dwFileVersionMS)) + L"." +
                               std::to_wstring(HIWORD(fixed->dwFileVersionLS));
  EXPECT_EQ(numbers, kVersion);
  EXPECT_EQ(fixed->dwProductVersionMS, fixed->dwFileVersionMS);
  EXPECT_EQ(fixed->dwProductVersionLS, fixed->dwFileVersionLS);
  EXPECT_EQ(fixed->dwFileType, GetParam().type);
}

TEST_P(FileResources, CarryAManifestWithoutElevationAndCodePage) {
  const win32::UniqueModule module(
      LoadLibraryExW(path().c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE));
  ASSERT_TRUE(module);
  const HRSRC found =
      FindResourceW(module.get(), MAKEINTRESOURCEW(GetParam().manifestId), MAKEINTRESOURCEW(24));
  ASSERT_NE(found, nullptr);
  const HGLOBAL loaded = LoadResource(module.get(), found);
  ASSERT_NE(loaded, nullptr);
  const std::string manifest(static_cast<const char*>(LockResource(loaded)),
                             SizeofResource(module.get(), found));
  EXPECT_THAT(manifest, HasSubstr("level=\"asInvoker\""));
  EXPECT_THAT(manifest, HasSubstr("{8e0f7a12-bfb3-4fe8-b9a5-48fd50a15a9a}"));
  EXPECT_THAT(manifest, HasSubstr(std::string("version=\"") + kVersionUtf8 + ".0\""));
  EXPECT_THAT(manifest, Not(HasSubstr("<activeCodePage")));
  EXPECT_THAT(manifest, Not(HasSubstr("<longPathAware")));
}

// No time of linking: the same sources give the same bytes.
TEST_P(FileResources, StandInAFileWithoutATimeStamp) {
  const win32::UniqueModule module(
      LoadLibraryExW(path().c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE));
  ASSERT_TRUE(module);
  // A module that is mapped as data has its low bits set.
  const auto address = reinterpret_cast<std::uintptr_t>(module.get()) & ~std::uintptr_t{3};
  const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(address);
  const auto* headers =
      reinterpret_cast<const IMAGE_NT_HEADERS64*>(address + static_cast<DWORD>(dos->e_lfanew));
  ASSERT_EQ(headers->Signature, DWORD{IMAGE_NT_SIGNATURE});
  EXPECT_EQ(headers->FileHeader.TimeDateStamp, 0u);
}

INSTANTIATE_TEST_SUITE_P(Shipped, FileResources, testing::ValuesIn(kPrograms),
                         [](const testing::TestParamInfo<ShippedProgram>& program) {
                           auto name = std::filesystem::path(program.param.file).stem().string();
                           std::erase(name, '-');  // A test's name has none.
                           return name;
                         });

TEST(OrvactlVersion, IsTheVersionOfItsResource) {
  const ChildResult result = runChild(shippedFile(L"orvactl.exe"), {L"--version"});
  EXPECT_EQ(result.exitCode, 0u);
  EXPECT_THAT(result.output, HasSubstr(std::string("orvactl ") + kVersionUtf8));
}

}  // namespace
}  // namespace orva_accelerator::test
