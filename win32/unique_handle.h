// Owners of system handles.
//
// One template, one traits class a kind of handle, because "no handle" and the call that releases
// one differ: a kernel object is released by CloseHandle and absent as null, a file or pipe is
// absent as INVALID_HANDLE_VALUE, a service handle wants CloseServiceHandle, a module FreeLibrary.
//
// Releasing never disturbs the calling thread's last error, so that a function may let an owner
// go out of scope between a failed call and the use of its error code.
#pragma once

#include <windows.h>

#include <utility>

namespace orva_accelerator::win32 {

template <typename Traits>
class UniqueHandle {
 public:
  using Value = typename Traits::Value;

  UniqueHandle() noexcept = default;
  explicit UniqueHandle(Value value) noexcept : value_(value) {}
  UniqueHandle(const UniqueHandle&) = delete;
  UniqueHandle& operator=(const UniqueHandle&) = delete;
  UniqueHandle(UniqueHandle&& other) noexcept : value_(other.release()) {}
  UniqueHandle& operator=(UniqueHandle&& other) noexcept {
    reset(other.release());
    return *this;
  }
  ~UniqueHandle() { reset(); }

  // The handle itself, still owned: the caller borrows it and must not close it.
  Value get() const noexcept { return value_; }
  explicit operator bool() const noexcept { return value_ != Traits::none(); }

  // Gives the handle away; the caller closes it from now on.
  [[nodiscard]] Value release() noexcept { return std::exchange(value_, Traits::none()); }

  // Closes the handle that is held, if any, and holds `value`, another one, from now on.
  void reset(Value value = Traits::none()) noexcept {
    const Value old = std::exchange(value_, value);
    if (old == Traits::none()) return;
    const DWORD lastError = GetLastError();
    Traits::close(old);
    SetLastError(lastError);
  }

 private:
  Value value_ = Traits::none();
};

// Events, threads, processes: everything whose failed creation yields null.
struct KernelHandleTraits {
  using Value = HANDLE;
  static Value none() noexcept { return nullptr; }
  static void close(Value value) noexcept {
    // Fails only for a handle that is not ours to close.
    (void)CloseHandle(value);
  }
};

// Files, pipes and process snapshots: everything whose failed creation yields
// INVALID_HANDLE_VALUE.
struct FileHandleTraits {
  using Value = HANDLE;
  static Value none() noexcept { return INVALID_HANDLE_VALUE; }
  static void close(Value value) noexcept {
    // Fails only for a handle that is not ours to close.
    (void)CloseHandle(value);
  }
};

struct ServiceHandleTraits {
  using Value = SC_HANDLE;
  static Value none() noexcept { return nullptr; }
  static void close(Value value) noexcept {
    // Fails only for a handle that is not ours to close.
    (void)CloseServiceHandle(value);
  }
};

struct ModuleHandleTraits {
  using Value = HMODULE;
  static Value none() noexcept { return nullptr; }
  static void close(Value value) noexcept {
    // Fails only for a module that is not loaded.
    (void)FreeLibrary(value);
  }
};

// Memory that a system call allocated with LocalAlloc, such as a converted security descriptor.
struct LocalMemoryTraits {
  using Value = void*;
  static Value none() noexcept { return nullptr; }
  static void close(Value value) noexcept {
    // Returns the memory again when it fails; there is nothing to do then.
    (void)LocalFree(value);
  }
};

using UniqueKernelHandle = UniqueHandle<KernelHandleTraits>;
using UniqueFileHandle = UniqueHandle<FileHandleTraits>;
using UniqueServiceHandle = UniqueHandle<ServiceHandleTraits>;
using UniqueModule = UniqueHandle<ModuleHandleTraits>;
using UniqueLocalMemory = UniqueHandle<LocalMemoryTraits>;

}  // namespace orva_accelerator::win32
