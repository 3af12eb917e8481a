// A push client for tests that end it: registers with the id given as argument, prints the value of
// its pipe handle and waits to be killed.
#include <windows.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "ipc/wire/pipe_names.h"
#include "win32/unique_handle.h"

using orva_accelerator::ipc::kPushPipeName;
using orva_accelerator::win32::UniqueFileHandle;

namespace {

UniqueFileHandle openPushPipe() {
  // Between two instances there is a moment without a free one.
  for (int attempt = 0; attempt < 100; ++attempt) {
    UniqueFileHandle pipe(CreateFileW(kPushPipeName, GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                      OPEN_EXISTING, 0, nullptr));
    if (pipe) return pipe;  // A failure other than a busy pipe fails every attempt.
    Sleep(100);
  }
  return UniqueFileHandle();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  const auto id = static_cast<std::uint32_t>(std::strtoul(argv[1], nullptr, 10));
  const UniqueFileHandle pipe = openPushPipe();
  if (!pipe) return 1;
  DWORD mode = PIPE_READMODE_MESSAGE;
  if (!SetNamedPipeHandleState(pipe.get(), &mode, nullptr, nullptr)) return 1;
  DWORD written = 0;
  if (!WriteFile(pipe.get(), &id, sizeof(id), &written, nullptr)) return 1;
  (void)std::printf("pipe %llu registered\n",
                    static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(pipe.get())));
  (void)std::fflush(stdout);  // Who waits for the line misses it if it cannot be written.
  Sleep(600'000);
  return 0;
}
