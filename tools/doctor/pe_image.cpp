#include "tools/doctor/pe_image.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <type_traits>

#include "win32/unique_handle.h"

namespace orva_accelerator::tools {
namespace {

// Far beyond any library; what is above is damage, and would take its time.
constexpr std::int64_t kLargestFile = std::int64_t{256} * 1024 * 1024;
constexpr std::uint32_t kMostExports = 65'536;
constexpr std::uint32_t kMostImports = 1'024;
constexpr std::size_t kLongestName = 4096;
constexpr std::size_t kMostText = std::size_t{4} * 1024 * 1024;
// The system loads no more.
constexpr unsigned kMostSections = 96;

struct Damage {
  const char* text;
};

constexpr Damage kCutOff{"the file ends too early"};

// Reads records at any offset; throws Damage beyond the end.
class PeFile {
 public:
  explicit PeFile(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

  template <typename T>
  T at(std::uint64_t offset) const {
    static_assert(std::is_trivially_copyable_v<T>);
    if (offset > bytes_.size() || bytes_.size() - offset < sizeof(T)) throw Damage(kCutOff);
    T value;
    std::memcpy(&value, bytes_.data() + offset, sizeof(T));
    return value;
  }

  std::string textAt(std::uint64_t offset) {
    if (offset >= bytes_.size()) throw Damage(kCutOff);
    const auto rest = bytes_.subspan(static_cast<std::size_t>(offset));
    const auto scanned = rest.first(std::min(rest.size(), kLongestName));
    const auto end = std::ranges::find(scanned, std::uint8_t{0});
    if (end == scanned.end()) throw Damage{"a name does not end"};
    const std::string text(scanned.begin(), end);
    // Many names may be one and the same place in the file.
    if (text.size() > textLeft_) throw Damage{"its names are too long"};
    textLeft_ -= text.size();
    return text;
  }

 private:
  std::span<const std::uint8_t> bytes_;
  std::size_t textLeft_ = kMostText;
};

// Where the parts of the loaded image lie in the file.
class Sections {
 public:
  Sections(const PeFile& file, std::uint64_t table, unsigned count) {
    if (count > kMostSections) throw Damage{"it counts too many sections"};
    for (unsigned i = 0; i < count; ++i) {
      sections_.push_back(
          file.at<IMAGE_SECTION_HEADER>(table + std::uint64_t{i} * sizeof(IMAGE_SECTION_HEADER)));
    }
  }

  std::uint64_t fileOffset(std::uint64_t address) const {
    for (const IMAGE_SECTION_HEADER& section : sections_) {
      const std::uint64_t from = section.VirtualAddress;
      if (address >= from && address - from < section.SizeOfRawData) {
        return section.PointerToRawData + (address - from);
      }
    }
    throw Damage{"one of its lists points outside the file"};
  }

 private:
  std::vector<IMAGE_SECTION_HEADER> sections_;
};

std::vector<std::string> readExports(PeFile& file, const Sections& sections,
                                     std::uint32_t directory) {
  const auto header = file.at<IMAGE_EXPORT_DIRECTORY>(sections.fileOffset(directory));
  if (header.NumberOfNames > kMostExports) throw Damage{"it counts too many exports"};
  std::vector<std::string> names;
  for (std::uint64_t i = 0; i < header.NumberOfNames; ++i) {
    const auto address = file.at<std::uint32_t>(
        sections.fileOffset(header.AddressOfNames + i * sizeof(std::uint32_t)));
    const auto ordinal = file.at<std::uint16_t>(
        sections.fileOffset(header.AddressOfNameOrdinals + i * sizeof(std::uint16_t)));
    if (ordinal >= header.NumberOfFunctions) throw Damage{"an export leads nowhere"};
    names.push_back(file.textAt(sections.fileOffset(address)));
  }
  return names;
}

std::vector<std::string> readImports(PeFile& file, const Sections& sections,
                                     std::uint64_t directory) {
  std::vector<std::string> names;
  for (;; directory += sizeof(IMAGE_IMPORT_DESCRIPTOR)) {
    const auto entry = file.at<IMAGE_IMPORT_DESCRIPTOR>(sections.fileOffset(directory));
    if (entry.Name == 0 || entry.FirstThunk == 0) return names;
    if (names.size() == kMostImports) throw Damage{"it counts too many imports"};
    names.push_back(file.textAt(sections.fileOffset(entry.Name)));
  }
}

PeImage read(PeFile& file) {
  const auto dos = file.at<IMAGE_DOS_HEADER>(0);
  if (dos.e_magic != IMAGE_DOS_SIGNATURE || dos.e_lfanew < 0) {
    throw Damage{"it is no Windows program or library"};
  }
  const auto start = static_cast<std::uint64_t>(dos.e_lfanew);
  if (file.at<std::uint32_t>(start) != IMAGE_NT_SIGNATURE) {
    throw Damage{"it is no Windows program or library"};
  }
  const auto header = file.at<IMAGE_FILE_HEADER>(start + sizeof(std::uint32_t));
  const std::uint64_t optional = start + sizeof(std::uint32_t) + sizeof(IMAGE_FILE_HEADER);
  PeImage image;
  image.machine = header.Machine;
  image.isLibrary = (header.Characteristics & IMAGE_FILE_DLL) != 0;
  const auto format = file.at<std::uint16_t>(optional);
  image.is64Bit =
      header.Machine == IMAGE_FILE_MACHINE_AMD64 && format == IMAGE_NT_OPTIONAL_HDR64_MAGIC;
  if (!image.is64Bit) return image;  // Of no use to the service, whatever it exports.

  if (header.SizeOfOptionalHeader < sizeof(IMAGE_OPTIONAL_HEADER64)) throw Damage(kCutOff);
  const auto details = file.at<IMAGE_OPTIONAL_HEADER64>(optional);
  const Sections sections(file, optional + header.SizeOfOptionalHeader, header.NumberOfSections);
  const auto directory = [&details](DWORD number) {
    return details.NumberOfRvaAndSizes > number ? details.DataDirectory[number].VirtualAddress : 0;
  };
  if (const DWORD exports = directory(IMAGE_DIRECTORY_ENTRY_EXPORT); exports != 0) {
    image.exports = readExports(file, sections, exports);
  }
  if (const DWORD imports = directory(IMAGE_DIRECTORY_ENTRY_IMPORT); imports != 0) {
    image.imports = readImports(file, sections, imports);
  }
  return image;
}

}  // namespace

PeReading readPe(std::span<const std::uint8_t> file) {
  if (file.empty()) return {std::nullopt, "it is empty"};
  try {
    PeFile reader(file);
    return {read(reader), {}};
  } catch (const Damage& damage) {
    return {std::nullopt, damage.text};
  }
}

std::uint32_t readPeFile(const std::wstring& path, PeReading& reading) {
  const win32::UniqueFileHandle file(CreateFileW(
      path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return GetLastError();
  LARGE_INTEGER size{};
  if (!GetFileSizeEx(file.get(), &size)) return GetLastError();
  if (size.QuadPart > kLargestFile) return ERROR_FILE_TOO_LARGE;
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(size.QuadPart));
  DWORD count = 0;
  if (!ReadFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr)) {
    return GetLastError();
  }
  reading = readPe(std::span(bytes).first(count));
  return 0;
}

}  // namespace orva_accelerator::tools
