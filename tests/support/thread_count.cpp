#include "tests/support/thread_count.h"

#include <tlhelp32.h>

#include "win32/unique_handle.h"

namespace orva_accelerator::test {

std::optional<std::size_t> threadCount(DWORD processId) {
  const win32::UniqueFileHandle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
  if (!snapshot) return std::nullopt;
  THREADENTRY32 thread = {};
  thread.dwSize = sizeof thread;
  if (!Thread32First(snapshot.get(), &thread)) return std::nullopt;
  std::size_t count = 0;
  do {
    if (thread.th32OwnerProcessID == processId) ++count;
  } while (Thread32Next(snapshot.get(), &thread));
  return count;
}

}  // namespace orva_accelerator::test
