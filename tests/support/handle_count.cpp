#include "tests/support/handle_count.h"

#include <cstdint>
#include <cstring>
#include <vector>

#include "win32/unique_handle.h"

namespace orva_accelerator::test {
namespace {

using win32::UniqueKernelHandle;

constexpr ULONG kSystemHandleInformation = 16;
constexpr LONG kStatusInfoLengthMismatch = static_cast<LONG>(0xC0000004);

// One entry of the list, which starts at offset 8, behind the 32-bit number of entries. Of the
// process id and of the handle only the low 16 bits are in it.
struct HandleEntry {
  std::uint16_t processId;
  std::uint16_t unused1;
  std::uint8_t type;
  std::uint8_t unused2;
  std::uint16_t handle;
  std::uint8_t unused3[16];
};
static_assert(sizeof(HandleEntry) == 24);

using QuerySystemInformation = LONG(WINAPI*)(ULONG, void*, ULONG, ULONG*);

// Of all processes; empty if it cannot be had.
std::vector<HandleEntry> listHandles() {
  const HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
  if (ntdll == nullptr) return {};
  const auto query = reinterpret_cast<QuerySystemInformation>(
      reinterpret_cast<void (*)()>(GetProcAddress(ntdll, "NtQuerySystemInformation")));
  if (query == nullptr) return {};

  std::vector<std::uint8_t> list(1 << 20);
  ULONG length = 0;
  LONG status = kStatusInfoLengthMismatch;
  // The list may grow between two calls, so its length is found by trying.
  while ((status = query(kSystemHandleInformation, list.data(), static_cast<ULONG>(list.size()),
                         &length)) == kStatusInfoLengthMismatch) {
    list.resize(list.size() * 2);
  }
  if (status < 0) return {};

  std::uint32_t count = 0;
  std::memcpy(&count, list.data(), sizeof count);
  std::vector<HandleEntry> entries(count);
  if (count > 0) std::memcpy(entries.data(), list.data() + 8, count * sizeof(HandleEntry));
  return entries;
}

// Stands in the list itself, so that the number for the type of a thread can be read from there.
UniqueKernelHandle openOwnThread() {
  HANDLE thread = nullptr;
  if (!DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &thread, 0,
                       FALSE, DUPLICATE_SAME_ACCESS)) {
    return {};
  }
  return UniqueKernelHandle(thread);
}

bool belongsTo(const HandleEntry& entry, DWORD processId) {
  return entry.processId == static_cast<std::uint16_t>(processId);
}

}  // namespace

std::optional<HandleCounts> handleCounts(DWORD processId) {
  const UniqueKernelHandle ownThread = openOwnThread();
  if (!ownThread) return std::nullopt;
  const auto ownHandle =
      static_cast<std::uint16_t>(reinterpret_cast<std::uintptr_t>(ownThread.get()));
  const std::vector<HandleEntry> entries = listHandles();

  std::optional<std::uint8_t> threadType;
  for (const HandleEntry& entry : entries) {
    if (belongsTo(entry, GetCurrentProcessId()) && entry.handle == ownHandle) {
      threadType = entry.type;
    }
  }
  if (!threadType) return std::nullopt;

  HandleCounts counts;
  for (const HandleEntry& entry : entries) {
    if (!belongsTo(entry, processId)) continue;
    ++(entry.type == *threadType ? counts.threads : counts.others);
  }
  // The one that was opened for counting.
  if (processId == GetCurrentProcessId()) --counts.threads;
  return counts;
}

std::optional<std::size_t> handleCount(DWORD processId) {
  const std::optional<HandleCounts> counts = handleCounts(processId);
  if (!counts) return std::nullopt;
  return counts->all();
}

}  // namespace orva_accelerator::test
