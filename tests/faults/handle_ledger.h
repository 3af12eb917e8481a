// Which handles of one kind are open.
#pragma once

#include <windows.h>

#include <cstddef>
#include <set>

#include "tests/support/spin_lock.h"

namespace orva_accelerator::test {

class HandleLedger {
 public:
  HANDLE opened(HANDLE handle) {
    if (handle == nullptr || handle == INVALID_HANDLE_VALUE) return handle;
    const DWORD lastError = GetLastError();
    {
      const SpinGuard guard(lock_);
      handles_.insert(handle);
    }
    SetLastError(lastError);
    return handle;
  }
  void closed(HANDLE handle) {
    const SpinGuard guard(lock_);
    handles_.erase(handle);
  }
  bool contains(HANDLE handle) const {
    const SpinGuard guard(lock_);
    return handles_.contains(handle);
  }
  std::size_t size() const {
    const SpinGuard guard(lock_);
    return handles_.size();
  }

 private:
  mutable SpinLock lock_;
  std::set<HANDLE> handles_;
};

}  // namespace orva_accelerator::test
