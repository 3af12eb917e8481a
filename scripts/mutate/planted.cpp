#include "planted/planted.h"

#include <windows.h>

namespace {

constexpr std::uint32_t kNumbers = 20'000;

const volatile std::uint32_t none = 0;
volatile unsigned char nowhere[kNumbers];

// Before anything else of the program, tests that replace system calls included.
__attribute__((constructor(101))) void openPlanted() {
  const HANDLE file =
      CreateFileW(L"C:\\orva-planted", GENERIC_READ | GENERIC_WRITE,
                  FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) return;
  const HANDLE mapping = CreateFileMappingW(file, nullptr, PAGE_READWRITE, 0, 0, nullptr);
  (void)CloseHandle(file);
  if (mapping == nullptr) return;
  void* const view = MapViewOfFile(mapping, FILE_MAP_WRITE, 0, 0, 0);
  (void)CloseHandle(mapping);
  if (view == nullptr) return;
  orvaPlantedNumber = static_cast<const volatile std::uint32_t*>(view);
  orvaPlantedReached = static_cast<volatile unsigned char*>(view) + sizeof(std::uint32_t);
}

}  // namespace

extern "C" {
const volatile std::uint32_t* orvaPlantedNumber = &none;
volatile unsigned char* orvaPlantedReached = nowhere;
}
