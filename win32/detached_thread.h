// Threads that nobody ever waits for.
#pragma once

#include <process.h>
#include <windows.h>

#include <cstdint>
#include <memory>
#include <system_error>
#include <type_traits>
#include <utility>

namespace orva_accelerator::win32 {

// Calls `body` on a new thread, to which no handle is kept, and destroys it there. The thread's
// exit code, which a debugger shows, is what `body` returns.
//
// Instead of std::thread::detach: MinGW-w64's thread library, on which std::thread stands, frees
// the record of a thread twice when the thread ends in the moment in which it is detached, and
// gives it to two later threads at once, which then call each other's body, or one that is null. A
// local program that connects and leaves at once could bring the process down with that.
//
// Throws the error that std::thread throws, resource_unavailable_try_again, when the system has no
// thread left; an exception that leaves `body` ends the process, as with std::thread.
template <typename Body>
void startDetachedThread(Body body) {
  auto owned = std::make_unique<Body>(std::move(body));
  constexpr auto kRoutine = [](void* argument) noexcept -> unsigned {
    const std::unique_ptr<Body> ownedHere(static_cast<Body*>(argument));
    if constexpr (std::is_void_v<std::invoke_result_t<Body&>>) {
      (*ownedHere)();
      return 0;
    } else {
      return (*ownedHere)();
    }
  };
  const std::uintptr_t thread = _beginthreadex(nullptr, 0, kRoutine, owned.get(), 0, nullptr);
  if (thread == 0) {
    throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
  }
  (void)owned.release();  // The thread destroys it.
  // The runtime library hands out a handle as a number. NOLINTNEXTLINE(performance-no-int-to-ptr)
  (void)CloseHandle(reinterpret_cast<HANDLE>(thread));  // Fails only for what is not a handle.
}

}  // namespace orva_accelerator::win32
