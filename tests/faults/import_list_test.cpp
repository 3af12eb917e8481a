// That tests/faults/service_calls.cpp names what the built service imports, all of it, and nothing
// else.

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/faults/service_calls.h"
#include "tests/support/child_process.h"

namespace orva_accelerator::test {
namespace {

// An executable file as it lies on the disk.
class ExecutableFile {
 public:
  explicit ExecutableFile(const std::wstring& path) {
    std::FILE* const file = _wfopen(path.c_str(), L"rb");
    if (file == nullptr) throw std::runtime_error("cannot open the service's executable");
    for (char part[4096]; const std::size_t size = std::fread(part, 1, sizeof part, file);) {
      bytes_.insert(bytes_.end(), part, part + size);
    }
    (void)std::fclose(file);  // Only read.
  }

  // The functions imported by name, but for those of the C runtime.
  std::set<std::string> imports() const {
    const auto dos = at<IMAGE_DOS_HEADER>(0);
    const auto headers = at<IMAGE_NT_HEADERS>(static_cast<DWORD>(dos.e_lfanew));
    readSections(static_cast<DWORD>(dos.e_lfanew), headers);
    std::set<std::string> names;
    DWORD entry =
        offsetOf(headers.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress);
    for (;; entry += sizeof(IMAGE_IMPORT_DESCRIPTOR)) {
      const auto descriptor = at<IMAGE_IMPORT_DESCRIPTOR>(entry);
      if (descriptor.Name == 0) return names;
      if (!isOfTheCRuntime(textAt(offsetOf(descriptor.Name)))) addNames(descriptor, names);
    }
  }

 private:
  template <typename Record>
  Record at(DWORD offset) const {
    if (offset > bytes_.size() || sizeof(Record) > bytes_.size() - offset) {
      throw std::runtime_error("the executable is shorter than it says");
    }
    Record record;
    std::memcpy(&record, bytes_.data() + offset, sizeof record);
    return record;
  }

  std::string textAt(DWORD offset) const {
    const auto begin = bytes_.begin() + static_cast<std::ptrdiff_t>(offset);
    return std::string(begin, std::find(begin, bytes_.end(), '\0'));
  }

  static bool isOfTheCRuntime(const std::string& dll) {
    return _stricmp(dll.c_str(), "msvcrt.dll") == 0 ||
           _strnicmp(dll.c_str(), "api-ms-win-crt-", 15) == 0;
  }

  void readSections(DWORD headersOffset, const IMAGE_NT_HEADERS& headers) const {
    DWORD offset = headersOffset + static_cast<DWORD>(offsetof(IMAGE_NT_HEADERS, OptionalHeader)) +
                   headers.FileHeader.SizeOfOptionalHeader;
    for (WORD i = 0; i < headers.FileHeader.NumberOfSections; ++i) {
      sections_.push_back(at<IMAGE_SECTION_HEADER>(offset));
      offset += sizeof(IMAGE_SECTION_HEADER);
    }
  }

  DWORD offsetOf(DWORD address) const {
    for (const auto& section : sections_) {
      if (address >= section.VirtualAddress &&
          address - section.VirtualAddress < section.SizeOfRawData) {
        return section.PointerToRawData + (address - section.VirtualAddress);
      }
    }
    throw std::runtime_error("an address that is in no section");
  }

  void addNames(const IMAGE_IMPORT_DESCRIPTOR& descriptor, std::set<std::string>& names) const {
    DWORD entry = offsetOf(descriptor.OriginalFirstThunk);
    for (;; entry += sizeof(IMAGE_THUNK_DATA)) {
      const auto thunk = at<IMAGE_THUNK_DATA>(entry);
      if (thunk.u1.AddressOfData == 0) return;
      if (IMAGE_SNAP_BY_ORDINAL(thunk.u1.Ordinal)) continue;
      const DWORD hint = offsetOf(static_cast<DWORD>(thunk.u1.AddressOfData));
      names.insert(textAt(hint + static_cast<DWORD>(offsetof(IMAGE_IMPORT_BY_NAME, Name))));
    }
  }

  std::vector<char> bytes_;
  mutable std::vector<IMAGE_SECTION_HEADER> sections_;
};

std::set<std::string> serviceImports() {
  return ExecutableFile(shippedFile(L"OrvaAcceleratorService.exe")).imports();
}

template <typename List>
void addTo(std::multiset<std::string>& names, const List& list) {
  for (const auto& entry : list) names.insert(entry.function);
}

TEST(ServiceImports, AreAllListed) {
  std::multiset<std::string> listed;
  addTo(listed, serviceCalls());
  addTo(listed, otherServiceImports());
  addTo(listed, runtimeImports());
  for (const std::string& function : serviceImports()) {
    EXPECT_TRUE(listed.contains(function))
        << "the service calls " << function
        << ": say in tests/faults/service_calls.cpp what becomes of it when that fails";
  }
}

// What the runtime libraries import varies with their version, the rest does not.
TEST(ServiceImports, AreNotListedWithoutBeingImported) {
  std::multiset<std::string> listed;
  addTo(listed, serviceCalls());
  addTo(listed, otherServiceImports());
  const std::set<std::string> imports = serviceImports();
  for (const std::string& function : listed) {
    if (function == "_beginthreadex") continue;  // Of the C runtime; it starts every std::thread.
    EXPECT_TRUE(imports.contains(function)) << "the service does not import " << function;
  }
}

TEST(ServiceImports, AreListedOnce) {
  std::multiset<std::string> listed;
  addTo(listed, serviceCalls());
  addTo(listed, otherServiceImports());
  addTo(listed, runtimeImports());
  for (const std::string& function : listed) EXPECT_EQ(listed.count(function), 1U) << function;
}

}  // namespace
}  // namespace orva_accelerator::test
