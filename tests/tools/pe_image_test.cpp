#include "tools/doctor/pe_image.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "tools/doctor/library_imports.h"

namespace orva_accelerator::test {
namespace {

using tools::PeReading;
using tools::readPe;
using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kNtHeaders = 0x80;
constexpr std::size_t kSection = 0x400;
constexpr DWORD kAddress = 0x1000;

template <typename T>
void put(Bytes& bytes, std::size_t offset, const T& value) {
  std::memcpy(bytes.data() + offset, &value, sizeof(T));
}

IMAGE_NT_HEADERS64 headers() {
  IMAGE_NT_HEADERS64 nt{};
  nt.Signature = IMAGE_NT_SIGNATURE;
  nt.FileHeader.Machine = IMAGE_FILE_MACHINE_AMD64;
  nt.FileHeader.NumberOfSections = 1;
  nt.FileHeader.SizeOfOptionalHeader = sizeof(IMAGE_OPTIONAL_HEADER64);
  nt.FileHeader.Characteristics = IMAGE_FILE_DLL | IMAGE_FILE_EXECUTABLE_IMAGE;
  nt.OptionalHeader.Magic = IMAGE_NT_OPTIONAL_HDR64_MAGIC;
  nt.OptionalHeader.NumberOfRvaAndSizes = IMAGE_NUMBEROF_DIRECTORY_ENTRIES;
  nt.OptionalHeader.DataDirectory[0] = {kAddress, 0x100};
  nt.OptionalHeader.DataDirectory[1] = {kAddress + 0x100, 0x28};
  return nt;
}

// A library with the exports "One" and "Two" that imports from Needed.dll, in one section.
Bytes library(const IMAGE_NT_HEADERS64& nt = headers(), DWORD names = 2, DWORD functions = 2,
              DWORD sectionSize = 0x200) {
  Bytes bytes(kSection + sectionSize, 0);
  IMAGE_DOS_HEADER dos{};
  dos.e_magic = IMAGE_DOS_SIGNATURE;
  dos.e_lfanew = kNtHeaders;
  put(bytes, 0, dos);
  put(bytes, kNtHeaders, nt);
  IMAGE_SECTION_HEADER section{};
  section.VirtualAddress = kAddress;
  section.SizeOfRawData = sectionSize;
  section.PointerToRawData = kSection;
  put(bytes, kNtHeaders + sizeof(nt), section);
  IMAGE_EXPORT_DIRECTORY directory{};
  directory.NumberOfFunctions = functions;
  directory.NumberOfNames = names;
  directory.AddressOfNames = kAddress + 0x40;
  directory.AddressOfNameOrdinals = kAddress + 0x50;
  put(bytes, kSection, directory);
  put(bytes, kSection + 0x40, DWORD{kAddress + 0x60});
  put(bytes, kSection + 0x44, DWORD{kAddress + 0x70});
  put(bytes, kSection + 0x52, WORD{1});
  std::memcpy(bytes.data() + kSection + 0x60, "One", 4);
  std::memcpy(bytes.data() + kSection + 0x70, "Two", 4);
  IMAGE_IMPORT_DESCRIPTOR import{};
  import.Name = kAddress + 0x140;
  import.FirstThunk = kAddress;
  put(bytes, kSection + 0x100, import);
  std::memcpy(bytes.data() + kSection + 0x140, "Needed.dll", 11);
  return bytes;
}

TEST(PeImage, TellsMachineKindAndExports) {
  const PeReading reading = readPe(library());
  ASSERT_TRUE(reading.image) << reading.trouble;
  EXPECT_TRUE(reading.image->is64Bit);
  EXPECT_TRUE(reading.image->isLibrary);
  EXPECT_EQ(reading.image->exports, (std::vector<std::string>{"One", "Two"}));
  EXPECT_EQ(reading.image->imports, std::vector<std::string>{"Needed.dll"});
}

TEST(PeImage, Tells32BitFromTheMachineAndFromTheFormat) {
  auto nt = headers();
  nt.FileHeader.Machine = IMAGE_FILE_MACHINE_I386;
  EXPECT_FALSE(readPe(library(nt)).image->is64Bit);
  nt = headers();
  nt.OptionalHeader.Magic = IMAGE_NT_OPTIONAL_HDR32_MAGIC;
  EXPECT_FALSE(readPe(library(nt)).image->is64Bit);
}

TEST(PeImage, SurvivesEveryTruncation) {
  const Bytes whole = library();
  const std::size_t needed = kSection + 0x14B;  // Behind it is padding.
  for (std::size_t size = 0; size < needed; ++size) {
    // A buffer of exactly that size, so that a guarded heap notices the first byte too many.
    const Bytes part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    EXPECT_FALSE(readPe(part).image) << size;
  }
  EXPECT_TRUE(readPe(std::span(whole).first(needed)).image);
}

TEST(PeImage, SurvivesEveryByteBeingALie) {
  const Bytes whole = library();
  for (std::size_t at = 0; at < whole.size(); ++at) {
    for (const int lie : {0x00, 0x7F, 0x80, 0xFF}) {
      Bytes lying = whole;
      lying[at] = static_cast<std::uint8_t>(lie);
      const PeReading reading = readPe(lying);
      EXPECT_EQ(reading.image.has_value(), reading.trouble.empty()) << at;
    }
  }
}

TEST(PeImage, RefusesCountsThatCannotBe) {
  EXPECT_FALSE(readPe(library(headers(), 0xFFFFFFFF)).image);
  EXPECT_FALSE(readPe(library(headers(), 65'536)).image);
  EXPECT_FALSE(readPe(library(headers(), 2, 1)).image) << "the second leads nowhere";
}

// Nothing of it may take longer than a moment, whatever it counts: without bounds, this one would
// be looked through four billion times.
TEST(PeImage, RefusesMoreSectionsThanAreLoaded) {
  auto nt = headers();
  nt.FileHeader.NumberOfSections = 96;
  EXPECT_EQ(readPe(library(nt)).trouble.find("too many"), std::string::npos);
  nt.FileHeader.NumberOfSections = 97;
  EXPECT_EQ(readPe(library(nt)).trouble, "it counts too many sections");
  nt.FileHeader.NumberOfSections = 65'535;
  Bytes bytes = library(nt, 65'535, 65'535);
  bytes.resize(4'000'000);
  EXPECT_EQ(readPe(bytes).trouble, "it counts too many sections");
}

TEST(PeImage, RefusesANameThatDoesNotEnd) {
  Bytes bytes = library();
  std::fill(bytes.begin() + kSection + 0x140, bytes.end(), 'x');
  EXPECT_EQ(readPe(bytes).trouble, "a name does not end");
}

// Tables that lie over each other: every name is the same long one.
TEST(PeImage, RefusesNamesThatAreTooLongTogether) {
  constexpr DWORD kNames = 65'535;
  Bytes bytes = library(headers(), kNames, kNames + 1, 0x200000);
  IMAGE_EXPORT_DIRECTORY directory{};
  directory.NumberOfFunctions = kNames + 1;
  directory.NumberOfNames = kNames;
  directory.AddressOfNames = kAddress + 0x1000;
  directory.AddressOfNameOrdinals = kAddress + 0x80000;
  put(bytes, kSection, directory);
  for (DWORD i = 0; i < kNames; ++i) {
    put(bytes, kSection + 0x1000 + i * sizeof(DWORD), DWORD{kAddress + 0x100000});
  }
  std::fill_n(bytes.begin() + kSection + 0x100000, 4'000, 'x');
  EXPECT_EQ(readPe(bytes).trouble, "its names are too long");
}

TEST(PeImage, RefusesImportsWithoutEnd) {
  Bytes bytes = library(headers(), 2, 2, 0x10000);
  IMAGE_IMPORT_DESCRIPTOR import{};
  import.Name = kAddress + 0x60;
  import.FirstThunk = kAddress;
  for (std::size_t at = kSection + 0x100; at + sizeof(import) < bytes.size();
       at += sizeof(import)) {
    put(bytes, at, import);
  }
  EXPECT_EQ(readPe(bytes).trouble, "it counts too many imports");
}

TEST(PeImage, RefusesWhatIsNone) {
  EXPECT_FALSE(readPe({}).image);
  const Bytes text(100, 'x');
  EXPECT_EQ(readPe(text).trouble, "it is no Windows program or library");
}

TEST(PeImage, HasNoExportsWithoutADirectory) {
  auto nt = headers();
  nt.OptionalHeader.DataDirectory[0] = {};
  const PeReading reading = readPe(library(nt));
  ASSERT_TRUE(reading.image);
  EXPECT_TRUE(reading.image->exports.empty());
}

class LibraryImports : public testing::Test {
 protected:
  LibraryImports() { std::filesystem::create_directory(folder_); }
  ~LibraryImports() override { std::filesystem::remove_all(folder_); }

  void write(const wchar_t* name, const Bytes& bytes) const {
    std::ofstream(folder_ / name, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
  }
  std::string troubleOf(const std::vector<std::string>& imports) const {
    tools::PeImage image;
    image.imports = imports;
    return tools::importTrouble(image, {folder_.wstring()});
  }

 private:
  std::filesystem::path folder_ = std::filesystem::temp_directory_path() /
                                  ("OrvaImports" + std::to_string(GetCurrentProcessId()));
};

TEST_F(LibraryImports, AreFoundBesideItAndInTheSystem) {
  auto nt = headers();
  nt.OptionalHeader.DataDirectory[1] = {};
  write(L"own.dll", library(nt));
  EXPECT_EQ(troubleOf({"KERNEL32.dll", "api-ms-win-crt-heap-l1-1-0.dll", "OWN.dll"}), "");
}

TEST_F(LibraryImports, AreNamedWhenTheyAreMissing) {
  EXPECT_EQ(troubleOf({"kernel32.dll", "Absent.dll"}),
            "absent.dll, which is neither beside it nor part of Windows");
}

TEST_F(LibraryImports, AreFollowedThroughLibrariesBesideIt) {
  write(L"own.dll", library());  // Imports from Needed.dll.
  EXPECT_NE(troubleOf({"own.dll"}).find("needed.dll, which is neither"), std::string::npos);
  write(L"needed.dll", library());  // From itself.
  EXPECT_EQ(troubleOf({"own.dll"}), "");
}

TEST_F(LibraryImports, AreTroubleWhenTheyAreDamagedOrFor32Bits) {
  auto nt = headers();
  nt.FileHeader.Machine = IMAGE_FILE_MACHINE_I386;
  write(L"own.dll", library(nt));
  EXPECT_NE(troubleOf({"own.dll"}).find("no undamaged 64-bit library"), std::string::npos);
  write(L"own.dll", Bytes(100, 'x'));
  EXPECT_NE(troubleOf({"own.dll"}).find("no undamaged 64-bit library"), std::string::npos);
}

TEST_F(LibraryImports, AreNotLookedForOutsideTheFolders) {
  EXPECT_NE(troubleOf({"\\\\host\\share\\x.dll"}).find("no library's name"), std::string::npos);
  EXPECT_NE(troubleOf({"..\\..\\x.dll"}).find("no library's name"), std::string::npos);
}

}  // namespace
}  // namespace orva_accelerator::test
