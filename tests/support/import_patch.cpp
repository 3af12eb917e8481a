#include "tests/support/import_patch.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace orva_accelerator::test {
namespace {

template <typename Record>
Record* at(std::uint8_t* base, DWORD offset) {
  return reinterpret_cast<Record*>(base + offset);
}

// The places in the import table from which calls of the function take its address; more than one
// when the linker left the DLL with several entries.
std::vector<void**> findImports(const char* dll, const char* function) {
  auto* const base = reinterpret_cast<std::uint8_t*>(GetModuleHandleW(nullptr));
  const auto* dos = at<IMAGE_DOS_HEADER>(base, 0);
  const auto* headers = at<IMAGE_NT_HEADERS>(base, static_cast<DWORD>(dos->e_lfanew));
  const IMAGE_DATA_DIRECTORY& directory =
      headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];

  std::vector<void**> slots;
  if (directory.VirtualAddress == 0) return slots;
  for (auto* entry = at<IMAGE_IMPORT_DESCRIPTOR>(base, directory.VirtualAddress); entry->Name != 0;
       ++entry) {
    if (_stricmp(at<char>(base, entry->Name), dll) != 0) continue;
    auto* name = at<IMAGE_THUNK_DATA>(base, entry->OriginalFirstThunk);
    auto* address = at<IMAGE_THUNK_DATA>(base, entry->FirstThunk);
    for (; name->u1.AddressOfData != 0; ++name, ++address) {
      if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) continue;
      const auto* import =
          at<IMAGE_IMPORT_BY_NAME>(base, static_cast<DWORD>(name->u1.AddressOfData));
      if (std::strcmp(reinterpret_cast<const char*>(import->Name), function) == 0) {
        slots.push_back(reinterpret_cast<void**>(&address->u1.Function));
      }
    }
  }
  return slots;
}

void write(void** slot, void* value) {
  DWORD protection = 0;
  if (!VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &protection)) {
    ADD_FAILURE() << "cannot write to the import table: error " << GetLastError();
    return;
  }
  // Other threads may be calling through the slot right now.
  (void)InterlockedExchangePointer(slot, value);
  (void)VirtualProtect(slot, sizeof *slot, protection, &protection);  // Writable does no harm.
}

}  // namespace

RawImportPatch::RawImportPatch(const char* dll, const char* function)
    : slots_(findImports(dll, function)) {
  if (slots_.empty()) {
    ADD_FAILURE() << "this executable imports no " << function << " from " << dll
                  << ": nothing is patched";
    if (const HMODULE module = GetModuleHandleA(dll)) {
      original_ = reinterpret_cast<void*>(GetProcAddress(module, function));
    }
    return;
  }
  original_ = *slots_.front();
}

void RawImportPatch::install(void* replacement) {
  for (void** slot : slots_) write(slot, replacement);
}

RawImportPatch::~RawImportPatch() {
  const DWORD lastError = GetLastError();
  for (void** slot : slots_) write(slot, original_);
  SetLastError(lastError);
}

void detail::hookSlotsExhausted() {
  (void)std::fprintf(stderr, "more than %u hooks of one signature at once\n",
                     static_cast<unsigned>(kHookSlots));
  std::abort();
}

}  // namespace orva_accelerator::test
