// What the images that players get are made of: the protections that docs/security.md claims, and
// how much there is of them.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <ostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/child_process.h"

namespace orva_accelerator::test {
namespace {

// The linker's output, symbols included. What is handed out is the same without them.
class Image {
 public:
  explicit Image(const std::wstring& path) {
    std::FILE* const file = _wfopen(path.c_str(), L"rb");
    if (file == nullptr) throw std::runtime_error("cannot open the image");
    for (char part[65'536]; const std::size_t size = std::fread(part, 1, sizeof part, file);) {
      bytes_.insert(bytes_.end(), part, part + size);
    }
    // Only read.
    (void)std::fclose(file);
    const auto start = static_cast<std::size_t>(at<IMAGE_DOS_HEADER>(0).e_lfanew);
    headers_ = at<IMAGE_NT_HEADERS64>(start);
    std::size_t offset = start + offsetof(IMAGE_NT_HEADERS64, OptionalHeader) +
                         headers_.FileHeader.SizeOfOptionalHeader;
    for (WORD i = 0; i < headers_.FileHeader.NumberOfSections; ++i) {
      sections_.push_back(at<IMAGE_SECTION_HEADER>(offset));
      offset += sizeof(IMAGE_SECTION_HEADER);
    }
  }

  const IMAGE_NT_HEADERS64& headers() const { return headers_; }
  const std::vector<IMAGE_SECTION_HEADER>& sections() const { return sections_; }

  // Up to the end of the last section that is loaded: the others are symbols.
  std::size_t strippedSize() const {
    std::size_t end = 0;
    for (const auto& section : sections_) {
      if ((section.Characteristics & IMAGE_SCN_MEM_DISCARDABLE) != 0 && section.Name[0] == '/') {
        continue;
      }
      end = std::max<std::size_t>(end, section.PointerToRawData + section.SizeOfRawData);
    }
    return end;
  }

  std::vector<std::string> symbols() const {
    const std::size_t table = headers_.FileHeader.PointerToSymbolTable;
    const DWORD count = headers_.FileHeader.NumberOfSymbols;
    const std::size_t texts = table + std::size_t{count} * IMAGE_SIZEOF_SYMBOL;
    std::vector<std::string> names;
    for (DWORD i = 0; i < count; ++i) {
      const auto symbol = at<IMAGE_SYMBOL>(table + std::size_t{i} * IMAGE_SIZEOF_SYMBOL);
      names.push_back(
          symbol.N.Name.Short != 0
              ? std::string(reinterpret_cast<const char*>(symbol.N.ShortName),
                            strnlen(reinterpret_cast<const char*>(symbol.N.ShortName), 8))
              : std::string(&bytes_.at(texts + symbol.N.Name.Long)));
      i += symbol.NumberOfAuxSymbols;
    }
    return names;
  }

 private:
  template <typename Record>
  Record at(std::size_t offset) const {
    if (offset > bytes_.size() || sizeof(Record) > bytes_.size() - offset) {
      throw std::runtime_error("the image is shorter than it says");
    }
    Record record;
    std::memcpy(&record, bytes_.data() + offset, sizeof record);
    return record;
  }

  std::vector<char> bytes_;
  IMAGE_NT_HEADERS64 headers_ = {};
  std::vector<IMAGE_SECTION_HEADER> sections_;
};

struct ShippedImage {
  const char* name;
  const wchar_t* file;
  WORD subsystem;
};

void PrintTo(const ShippedImage& image, std::ostream* out) {
  *out << image.name;
}

class ShippedImages : public testing::TestWithParam<ShippedImage> {
 protected:
  Image image_{shippedFile(GetParam().file)};
};

constexpr ShippedImage kImages[] = {
    {"Service", L"OrvaAcceleratorService.exe", IMAGE_SUBSYSTEM_WINDOWS_CUI},
    {"Tool", L"orvactl.exe", IMAGE_SUBSYSTEM_WINDOWS_CUI},
    {"DeveloperTool", L"orvactl-dev.exe", IMAGE_SUBSYSTEM_WINDOWS_CUI},
    {"ClientLibrary", L"OrvaClient.dll", IMAGE_SUBSYSTEM_WINDOWS_CUI},
    {"SetupSteps", L"..\\installer\\OrvaSetupActions.dll", IMAGE_SUBSYSTEM_WINDOWS_CUI},
};
INSTANTIATE_TEST_SUITE_P(Of, ShippedImages, testing::ValuesIn(kImages),
                         [](const auto& test) { return test.param.name; });

// A windowed program would print its outcome to nobody.
TEST_P(ShippedImages, AreOfTheirKindOfProgram) {
  EXPECT_EQ(image_.headers().OptionalHeader.Subsystem, GetParam().subsystem);
}

TEST_P(ShippedImages, LieAnywhereIn64BitsOfAddresses) {
  const auto& header = image_.headers();
  constexpr WORD kAnywhere =
      IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE | IMAGE_DLLCHARACTERISTICS_HIGH_ENTROPY_VA;
  EXPECT_EQ(header.OptionalHeader.DllCharacteristics & kAnywhere, kAnywhere);
  // Without the list of what to change there is only one place.
  EXPECT_EQ(header.FileHeader.Characteristics & IMAGE_FILE_RELOCS_STRIPPED, 0);
  EXPECT_NE(header.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_BASERELOC].Size, 0u);
  EXPECT_NE(header.FileHeader.Characteristics & IMAGE_FILE_LARGE_ADDRESS_AWARE, 0);
}

TEST_P(ShippedImages, HaveNoExecutableDataAndNoWritableCode) {
  EXPECT_NE(image_.headers().OptionalHeader.DllCharacteristics & IMAGE_DLLCHARACTERISTICS_NX_COMPAT,
            0);
  for (const auto& section : image_.sections()) {
    const bool executable = (section.Characteristics & IMAGE_SCN_MEM_EXECUTE) != 0;
    const bool writable = (section.Characteristics & IMAGE_SCN_MEM_WRITE) != 0;
    EXPECT_FALSE(executable && writable) << section.Name;
    EXPECT_EQ(executable, std::string_view(reinterpret_cast<const char*>(section.Name)) == ".text")
        << section.Name;
  }
}

TEST_P(ShippedImages, EndWhenAnArrayIsOverrun) {
  const std::vector<std::string> symbols = image_.symbols();
  for (const char* needed : {"__stack_chk_fail", "__stack_chk_guard", "__chk_fail"}) {
    EXPECT_EQ(std::ranges::count(symbols, needed), 1) << needed;
  }
}

// What every player's PC carries.
TEST(ServiceImage, IsSmall) {
  // What GCC 14 makes of the same sources, and its library, are a tenth larger.
  constexpr std::size_t kMost = __GNUC__ < 14 ? 330'000 : 350'000;
  EXPECT_LE(Image(shippedFile(L"OrvaAcceleratorService.exe")).strippedSize(), kMost);
}

// One stream of the standard library brings all of its locales: 700,000 bytes.
TEST(ServiceImage, HasNeitherStreamsNorLocales) {
  const Image image(shippedFile(L"OrvaAcceleratorService.exe"));
  const std::vector<std::string> symbols = image.symbols();
  ASSERT_GT(symbols.size(), 1000u);
  for (const std::string& symbol : symbols) {
    for (const char* part : {"basic_istream", "basic_ostream", "basic_streambuf", "ios_base",
                             "_ZNSt6locale", "_ZNSi", "_ZNSo", "_ZSt4cout", "_ZSt5wcout"}) {
      ASSERT_EQ(symbol.find(part), std::string::npos) << symbol;
    }
  }
}

}  // namespace
}  // namespace orva_accelerator::test
