#include "bench/micro/import_patch.h"

#include <windows.h>

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>

namespace orva_accelerator::bench {

namespace {

template <typename Target>
Target* at(DWORD offset) {
  auto* const image = reinterpret_cast<std::uint8_t*>(GetModuleHandleW(nullptr));
  return reinterpret_cast<Target*>(image + offset);
}

// Where the program looks up the address of the function when it calls it; null if it never does.
void** findSlot(const char* function) {
  const auto* const dos = at<IMAGE_DOS_HEADER>(0);
  const auto* const headers = at<IMAGE_NT_HEADERS>(static_cast<DWORD>(dos->e_lfanew));
  const DWORD imports =
      headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
  for (auto* dll = at<IMAGE_IMPORT_DESCRIPTOR>(imports); dll->Name != 0; ++dll) {
    if (_stricmp(at<char>(dll->Name), "kernel32.dll") != 0) continue;
    const auto* name = at<IMAGE_THUNK_DATA>(dll->OriginalFirstThunk);
    auto* slot = at<void*>(dll->FirstThunk);
    for (; name->u1.AddressOfData != 0; ++name, ++slot) {
      if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) continue;
      const auto* const entry =
          at<IMAGE_IMPORT_BY_NAME>(static_cast<DWORD>(name->u1.AddressOfData));
      if (std::strcmp(reinterpret_cast<const char*>(entry->Name), function) == 0) return slot;
    }
  }
  return nullptr;
}

// False when the system does not let it be written to.
bool write(void** slot, void* value) {
  auto* const place = static_cast<void*>(slot);
  DWORD protection = 0;
  if (!VirtualProtect(place, sizeof(*slot), PAGE_READWRITE, &protection)) return false;
  *slot = value;
  (void)VirtualProtect(place, sizeof(*slot), protection, &protection);  // Writable does no harm.
  return true;
}

}  // namespace

ImportPatch::ImportPatch(const char* function, void* replacement) : slot_(findSlot(function)) {
  if (slot_ == nullptr) throw std::runtime_error(std::string("not imported: ") + function);
  original_ = *slot_;
  if (!write(slot_, replacement)) throw std::runtime_error("VirtualProtect failed");
}

ImportPatch::~ImportPatch() {
  (void)write(slot_, original_);  // It could be written before.
}

}  // namespace orva_accelerator::bench
