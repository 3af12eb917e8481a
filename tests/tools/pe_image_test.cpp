#include "tools/doctor/pe_image.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstring>

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
  return nt;
}

// A library with the exports "One" and "Two".
Bytes library(const IMAGE_NT_HEADERS64& nt = headers(), DWORD names = 2, DWORD functions = 2) {
  Bytes bytes(0x600, 0);
  IMAGE_DOS_HEADER dos{};
  dos.e_magic = IMAGE_DOS_SIGNATURE;
  dos.e_lfanew = kNtHeaders;
  put(bytes, 0, dos);
  put(bytes, kNtHeaders, nt);
  IMAGE_SECTION_HEADER section{};
  section.VirtualAddress = kAddress;
  section.SizeOfRawData = 0x200;
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
  return bytes;
}

TEST(PeImage, TellsMachineKindAndExports) {
  const PeReading reading = readPe(library());
  ASSERT_TRUE(reading.image) << reading.trouble;
  EXPECT_TRUE(reading.image->is64Bit);
  EXPECT_TRUE(reading.image->isLibrary);
  EXPECT_EQ(reading.image->exports, (std::vector<std::string>{"One", "Two"}));
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
  const std::size_t needed = kSection + 0x74;  // Behind it is padding.
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

}  // namespace
}  // namespace orva_accelerator::test
