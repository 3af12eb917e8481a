// Global operator new and delete for tests: every block ends where an inaccessible page begins, and
// a freed block becomes inaccessible, so that reading or writing past a block, or after its end of
// life, is an access violation at the very instruction that does it.
//
// A block is a reservation of its own: its pages, then one page that is never committed. It starts
// wherever it must to end exactly there, so its address is aligned only to the largest power of two
// (16 at most) that divides its size. That is enough for any object, since a type's size is a
// multiple of its alignment; memory in front of a block is its own first page, so an underrun of
// less than a page may go unnoticed.
//
// Nothing here may allocate.
#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <new>

namespace {

constexpr std::size_t kPage = 4096;
// Freed blocks kept reserved, and so inaccessible, before their addresses may be used again.
constexpr std::size_t kQuarantine = 8192;

SRWLOCK quarantineLock = SRWLOCK_INIT;
void* quarantine[kQuarantine];
std::size_t quarantineNext = 0;

std::size_t blockAlignment(std::size_t size, std::size_t requested) noexcept {
  const std::size_t natural = size & (~size + 1);  // Largest power of two that divides the size.
  const std::size_t usual = natural > 16 ? 16 : natural;
  return requested > usual ? requested : usual;
}

void* allocate(std::size_t size, std::size_t requestedAlignment) noexcept {
  if (size == 0) size = 1;
  const std::size_t alignment = blockAlignment(size, requestedAlignment);
  // Reservations start at multiples of 64 KiB and blocks end at a page, so alignments of up to a
  // page need no more room than rounding the size up.
  if (alignment > kPage || size > SIZE_MAX / 2) return nullptr;
  const std::size_t rounded = (size + alignment - 1) / alignment * alignment;
  const std::size_t committed = (rounded + kPage - 1) / kPage * kPage;
  void* const base = VirtualAlloc(nullptr, committed + kPage, MEM_RESERVE, PAGE_NOACCESS);
  if (base == nullptr) return nullptr;
  if (VirtualAlloc(base, committed, MEM_COMMIT, PAGE_READWRITE) == nullptr) {
    (void)VirtualFree(base, 0, MEM_RELEASE);  // Out of memory either way.
    return nullptr;
  }
  unsigned char* const end = static_cast<unsigned char*>(base) + committed;
  // Memory from the usual heap is not zero; code that relies on it must not pass here.
  for (unsigned char* p = end - rounded; p != end; ++p) *p = 0xCD;
  return end - rounded;
}

// A program that frees what was never allocated, or twice, ends like one that touches it.
[[noreturn]] void crash() noexcept {
  RaiseException(static_cast<DWORD>(EXCEPTION_ACCESS_VIOLATION), EXCEPTION_NONCONTINUABLE, 0,
                 nullptr);
  for (;;) (void)TerminateProcess(GetCurrentProcess(), static_cast<UINT>(STATUS_ACCESS_VIOLATION));
}

void deallocate(void* block) noexcept {
  if (block == nullptr) return;
  const DWORD lastError = GetLastError();
  MEMORY_BASIC_INFORMATION region;
  if (VirtualQuery(block, &region, sizeof region) == 0 || region.State != MEM_COMMIT ||
      region.AllocationBase == nullptr) {
    crash();
  }
  void* const base = region.AllocationBase;
  if (!VirtualFree(base, 0, MEM_DECOMMIT)) crash();
  AcquireSRWLockExclusive(&quarantineLock);
  void* const oldest = quarantine[quarantineNext];
  quarantine[quarantineNext] = base;
  quarantineNext = (quarantineNext + 1) % kQuarantine;
  ReleaseSRWLockExclusive(&quarantineLock);
  if (oldest != nullptr && !VirtualFree(oldest, 0, MEM_RELEASE)) crash();
  SetLastError(lastError);  // The usual delete leaves it alone, and callers count on that.
}

void* allocateOrHandle(std::size_t size, std::size_t alignment) {
  for (;;) {
    if (void* const block = allocate(size, alignment)) return block;
    const std::new_handler handler = std::get_new_handler();
    if (handler == nullptr) throw std::bad_alloc();
    handler();
  }
}

void* allocateOrNull(std::size_t size, std::size_t alignment) noexcept {
  try {
    return allocateOrHandle(size, alignment);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

}  // namespace

void* operator new(std::size_t size) {
  return allocateOrHandle(size, 1);
}
void* operator new[](std::size_t size) {
  return allocateOrHandle(size, 1);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return allocateOrNull(size, 1);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return allocateOrNull(size, 1);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
  return allocateOrHandle(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
  return allocateOrHandle(size, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return allocateOrNull(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return allocateOrNull(size, static_cast<std::size_t>(alignment));
}

void operator delete(void* block) noexcept {
  deallocate(block);
}
void operator delete[](void* block) noexcept {
  deallocate(block);
}
void operator delete(void* block, std::size_t) noexcept {
  deallocate(block);
}
void operator delete[](void* block, std::size_t) noexcept {
  deallocate(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
  deallocate(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
  deallocate(block);
}
void operator delete(void* block, std::align_val_t) noexcept {
  deallocate(block);
}
void operator delete[](void* block, std::align_val_t) noexcept {
  deallocate(block);
}
void operator delete(void* block, std::size_t, std::align_val_t) noexcept {
  deallocate(block);
}
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept {
  deallocate(block);
}
void operator delete(void* block, std::align_val_t, const std::nothrow_t&) noexcept {
  deallocate(block);
}
void operator delete[](void* block, std::align_val_t, const std::nothrow_t&) noexcept {
  deallocate(block);
}
