// Global operator new and delete for tests: every block ends where an inaccessible page begins, and
// a freed block becomes inaccessible, so that reading or writing past a block, or after its end of
// life, is an access violation at the very instruction that does it.
//
// A block is some pages of its own, then one page that is never committed. It starts wherever it
// must to end exactly there, so its address is aligned only to the largest power of two (16 at
// most) that divides its size. That is enough for any object, since a type's size is a multiple of
// its alignment; memory in front of a block is its own first page, so an underrun of less than a
// page may go unnoticed.
//
// Blocks of up to 64 pages live in slots of a few large reservations: the system takes a hundred
// times as long for a reservation of its own, which is what larger blocks get.
//
// Nothing here may allocate.
#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <new>

namespace {

constexpr std::size_t kPage = 4096;
// Freed blocks that stay inaccessible before their addresses may be used again.
constexpr std::size_t kQuarantine = 8192;
// More is refused at once. The system keeps notes of every page that it reserves, and takes seconds
// for the billions that a count which lies would have.
constexpr std::size_t kMost = std::size_t{1} << 32;

// Only holds a lock for as long as it lives.
class Locked {
 public:
  explicit Locked(SRWLOCK& lock) noexcept : lock_(lock) { AcquireSRWLockExclusive(&lock_); }
  Locked(const Locked&) = delete;
  Locked& operator=(const Locked&) = delete;
  ~Locked() { ReleaseSRWLockExclusive(&lock_); }

 private:
  SRWLOCK& lock_;
};

// A program that frees what was never allocated, or twice, ends like one that touches it.
[[noreturn]] void crash() noexcept {
  RaiseException(static_cast<DWORD>(EXCEPTION_ACCESS_VIOLATION), EXCEPTION_NONCONTINUABLE, 0,
                 nullptr);
  for (;;) (void)TerminateProcess(GetCurrentProcess(), static_cast<UINT>(STATUS_ACCESS_VIOLATION));
}

// Slots of a fixed number of pages, each with an inaccessible page behind it. A freed slot is given
// out again after at least kQuarantine others.
class Slots {
 public:
  static constexpr std::size_t kSlots = 2 * kQuarantine;
  struct Table {
    // The freed slots in the order of their end.
    std::uint32_t queue[kSlots];
    // Where the block of a slot begins; null while it is free.
    void* volatile blocks[kSlots];
  };

  constexpr Slots(std::size_t pages, Table& table) noexcept : size_(pages * kPage), table_(table) {}

  std::size_t size() const noexcept { return size_; }

  // A block that ends where its slot does; null when all slots are taken.
  unsigned char* take(std::size_t size) noexcept {
    std::size_t slot = 0;
    if (!takeSlot(slot)) return nullptr;
    unsigned char* const block = endOf(slot) - size;
    if (!open(block, size)) {
      putSlot(slot);
      return nullptr;
    }
    InterlockedExchangePointer(&table_.blocks[slot], block);
    return block;
  }

  bool contains(const void* block) const noexcept {
    const auto* const at = static_cast<const unsigned char*>(block);
    return base_ != nullptr && at >= base_ && at < base_ + kSlots * stride();
  }

  void give(void* block) noexcept {
    auto* const at = static_cast<unsigned char*>(block);
    const std::size_t slot = static_cast<std::size_t>(at - base_) / stride();
    if (InterlockedCompareExchangePointer(&table_.blocks[slot], nullptr, block) != block) crash();
    close(at, static_cast<std::size_t>(endOf(slot) - at));
    putSlot(slot);
  }

 private:
  std::size_t stride() const noexcept { return size_ + kPage; }
  unsigned char* endOf(std::size_t slot) const noexcept { return base_ + slot * stride() + size_; }

  // A slot of one page keeps its memory: to make that inaccessible, and accessible again, is
  // quicker than to give it back.
  bool open(unsigned char* block, std::size_t size) const noexcept {
    DWORD before = 0;
    if (size_ == kPage && VirtualProtect(block, size, PAGE_READWRITE, &before)) return true;
    return VirtualAlloc(block, size, MEM_COMMIT, PAGE_READWRITE) != nullptr;
  }
  void close(unsigned char* block, std::size_t size) const noexcept {
    DWORD before = 0;
    if (!(size_ == kPage ? VirtualProtect(block, size, PAGE_NOACCESS, &before)
                         : VirtualFree(block, size, MEM_DECOMMIT))) {
      crash();
    }
  }

  bool takeSlot(std::size_t& slot) noexcept {
    const Locked locked(lock_);
    if (base_ == nullptr) {
      base_ = static_cast<unsigned char*>(
          VirtualAlloc(nullptr, kSlots * stride(), MEM_RESERVE, PAGE_NOACCESS));
      if (base_ == nullptr) return false;
    }
    if (used_ < kSlots) {
      slot = used_++;
      return true;
    }
    if (freed_ <= kQuarantine) return false;
    slot = table_.queue[first_];
    first_ = (first_ + 1) % kSlots;
    --freed_;
    return true;
  }

  void putSlot(std::size_t slot) noexcept {
    const Locked locked(lock_);
    table_.queue[(first_ + freed_) % kSlots] = static_cast<std::uint32_t>(slot);
    ++freed_;
  }

  const std::size_t size_;
  Table& table_;
  SRWLOCK lock_ = SRWLOCK_INIT;
  unsigned char* base_ = nullptr;
  std::size_t used_ = 0;   // Slots that were ever given out.
  std::size_t first_ = 0;  // Where the queue begins.
  std::size_t freed_ = 0;
};

constinit Slots::Table tables[4] = {};
constinit Slots allSlots[] = {{1, tables[0]}, {4, tables[1]}, {16, tables[2]}, {64, tables[3]}};

SRWLOCK quarantineLock = SRWLOCK_INIT;
void* quarantine[kQuarantine];
std::size_t quarantineNext = 0;

// A block with a reservation of its own.
unsigned char* reserveBlock(std::size_t size) noexcept {
  const std::size_t committed = (size + kPage - 1) / kPage * kPage;
  void* const base = VirtualAlloc(nullptr, committed + kPage, MEM_RESERVE, PAGE_NOACCESS);
  if (base == nullptr) return nullptr;
  if (VirtualAlloc(base, committed, MEM_COMMIT, PAGE_READWRITE) == nullptr) {
    (void)VirtualFree(base, 0, MEM_RELEASE);  // Out of memory either way.
    return nullptr;
  }
  return static_cast<unsigned char*>(base) + committed - size;
}

void releaseBlock(void* block) noexcept {
  MEMORY_BASIC_INFORMATION region;
  if (VirtualQuery(block, &region, sizeof region) == 0 || region.State != MEM_COMMIT ||
      region.AllocationBase == nullptr) {
    crash();
  }
  void* const base = region.AllocationBase;
  if (!VirtualFree(base, 0, MEM_DECOMMIT)) crash();
  void* oldest = nullptr;
  {
    const Locked locked(quarantineLock);
    oldest = quarantine[quarantineNext];
    quarantine[quarantineNext] = base;
    quarantineNext = (quarantineNext + 1) % kQuarantine;
  }
  if (oldest != nullptr && !VirtualFree(oldest, 0, MEM_RELEASE)) crash();
}

std::size_t blockAlignment(std::size_t size, std::size_t requested) noexcept {
  const std::size_t natural = size & (~size + 1);  // Largest power of two that divides the size.
  const std::size_t usual = natural > 16 ? 16 : natural;
  return requested > usual ? requested : usual;
}

void* allocate(std::size_t size, std::size_t requestedAlignment) noexcept {
  if (size == 0) size = 1;
  const std::size_t alignment = blockAlignment(size, requestedAlignment);
  // Blocks end at a page, so alignments of up to a page need no more room than rounding the size
  // up.
  if (alignment > kPage || size > kMost) return nullptr;
  const std::size_t rounded = (size + alignment - 1) / alignment * alignment;
  unsigned char* block = nullptr;
  for (Slots& slots : allSlots) {
    if (block == nullptr && rounded <= slots.size()) block = slots.take(rounded);
  }
  if (block == nullptr) block = reserveBlock(rounded);
  if (block == nullptr) return nullptr;
  // Memory from the usual heap is not zero; code that relies on it must not pass here.
  for (unsigned char* p = block; p != block + rounded; ++p) *p = 0xCD;
  return block;
}

void deallocate(void* block) noexcept {
  if (block == nullptr) return;
  const DWORD lastError = GetLastError();
  Slots* owner = nullptr;
  for (Slots& slots : allSlots) {
    if (slots.contains(block)) owner = &slots;
  }
  owner != nullptr ? owner->give(block) : releaseBlock(block);
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
