#include "tests/support/handle_count.h"

#include <winternl.h>

#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

#include "win32/unique_handle.h"

namespace orva_accelerator::test {
namespace {

using win32::UniqueKernelHandle;

constexpr LONG kStatusInfoLengthMismatch = static_cast<LONG>(0xC0000004);
// A handle's number is a multiple of this.
constexpr std::uintptr_t kStep = 4;
// More than any process of these tests has ever been given.
constexpr std::uintptr_t kHighestNumber = 1 << 24;

HANDLE numbered(std::uintptr_t number) {
  return reinterpret_cast<HANDLE>(number);  // What a handle is. NOLINT(performance-no-int-to-ptr)
}

// What the system's list of processes says of one; 0 if it is not there.
ULONG listedHandles(DWORD processId) {
  std::vector<std::uint8_t> list(1 << 18);
  ULONG length = 0;
  LONG status = kStatusInfoLengthMismatch;
  // The list may grow between two calls, so its length is found by trying.
  while ((status = NtQuerySystemInformation(SystemProcessInformation, list.data(),
                                            static_cast<ULONG>(list.size()), &length)) ==
         kStatusInfoLengthMismatch) {
    list.resize(list.size() * 2);
  }
  if (status < 0) return 0;
  SYSTEM_PROCESS_INFORMATION entry = {};
  for (std::size_t at = 0; at + sizeof entry <= list.size(); at += entry.NextEntryOffset) {
    std::memcpy(&entry, list.data() + at, sizeof entry);  // It stands at any address.
    if (entry.UniqueProcessId == numbered(processId)) return entry.HandleCount;
    if (entry.NextEntryOffset == 0) break;
  }
  return 0;
}

// Where a walk over a process's handles may end.
struct Bounds {
  ULONG handles;
  std::uintptr_t highestNumber;
};

// Wine answers 0 to the first question, and to the second one with the size of the table of
// handles, which has at least as many places as handles and gives no number beyond them.
Bounds boundsOf(HANDLE process, DWORD processId) {
  ULONG handles = 0;
  if (GetProcessHandleCount(process, &handles) && handles > 0) return {handles, kHighestNumber};
  const ULONG places = listedHandles(processId);
  return {places, kStep * places};
}

bool isThread(HANDLE handle) {
  struct {
    PUBLIC_OBJECT_TYPE_INFORMATION type;
    wchar_t name[128];
  } answer = {};
  ULONG length = 0;
  if (NtQueryObject(handle, ObjectTypeInformation, &answer, sizeof answer, &length) < 0) {
    return false;
  }
  const UNICODE_STRING& name = answer.type.TypeName;
  return std::wstring_view(name.Buffer, name.Length / sizeof(wchar_t)) == L"Thread";
}

}  // namespace

std::optional<HandleCounts> handleCounts(DWORD processId) {
  UniqueKernelHandle opened;
  HANDLE process = GetCurrentProcess();
  if (processId != GetCurrentProcessId()) {
    opened.reset(OpenProcess(PROCESS_DUP_HANDLE | PROCESS_QUERY_INFORMATION, FALSE, processId));
    if (!opened) {
      if (GetLastError() == ERROR_INVALID_PARAMETER) return HandleCounts{};  // It is not there.
      return std::nullopt;
    }
    process = opened.get();
  }
  const Bounds bounds = boundsOf(process, processId);
  HandleCounts counts;
  for (std::uintptr_t number = kStep;
       number <= bounds.highestNumber && counts.all() < bounds.handles; number += kStep) {
    HANDLE copy = nullptr;
    if (!DuplicateHandle(process, numbered(number), GetCurrentProcess(), &copy, 0, FALSE,
                         DUPLICATE_SAME_ACCESS)) {
      // Anything but "no such handle" is one that does not let itself be copied.
      if (GetLastError() != ERROR_INVALID_HANDLE) ++counts.others;
      continue;
    }
    const UniqueKernelHandle owned(copy);
    ++(isThread(copy) ? counts.threads : counts.others);
  }
  return counts;
}

std::optional<std::size_t> handleCount(DWORD processId) {
  const std::optional<HandleCounts> counts = handleCounts(processId);
  if (!counts) return std::nullopt;
  return counts->all();
}

}  // namespace orva_accelerator::test
