#include "tests/support/handle_count.h"

#include <cstdint>
#include <cstring>
#include <vector>

namespace orva_accelerator::test {
namespace {

constexpr ULONG kSystemHandleInformation = 16;
constexpr LONG kStatusInfoLengthMismatch = static_cast<LONG>(0xC0000004);

// One entry of the list, which starts at offset 8, behind the 32-bit number of entries. Only the
// low 16 bits of the process id are in it.
struct HandleEntry {
  std::uint16_t processId;
  std::uint16_t unused1;
  std::uint8_t unused2[20];
};
static_assert(sizeof(HandleEntry) == 24);

using QuerySystemInformation = LONG(WINAPI*)(ULONG, void*, ULONG, ULONG*);

}  // namespace

std::optional<std::size_t> handleCount(DWORD processId) {
  const HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
  if (ntdll == nullptr) return std::nullopt;
  const auto query = reinterpret_cast<QuerySystemInformation>(
      reinterpret_cast<void (*)()>(GetProcAddress(ntdll, "NtQuerySystemInformation")));
  if (query == nullptr) return std::nullopt;

  std::vector<std::uint8_t> list(1 << 20);
  ULONG length = 0;
  LONG status = kStatusInfoLengthMismatch;
  // The list may grow between two calls, so its length is found by trying.
  while ((status = query(kSystemHandleInformation, list.data(), static_cast<ULONG>(list.size()),
                         &length)) == kStatusInfoLengthMismatch) {
    list.resize(list.size() * 2);
  }
  if (status < 0) return std::nullopt;

  std::uint32_t entries = 0;
  std::memcpy(&entries, list.data(), sizeof entries);
  std::size_t count = 0;
  for (std::size_t i = 0; i < entries; ++i) {
    HandleEntry entry;
    std::memcpy(&entry, list.data() + 8 + i * sizeof entry, sizeof entry);
    if (entry.processId == static_cast<std::uint16_t>(processId)) ++count;
  }
  return count;
}

}  // namespace orva_accelerator::test
