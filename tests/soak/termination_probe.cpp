// Shows whether the system ends a process at once that asks for its own end while its threads wait
// at pipes and use memory. It is none of the service: no code of ours is in it. Under Wine 8 some
// processes of a thousand are never gone; see docs/testing.md.
//
//   termination_probe [CYCLES]
//
// Prints how many of the processes ended with the exit code that they asked for, and how many were
// held up with one thread left.
#include <windows.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "win32/detached_thread.h"
#include "win32/unique_handle.h"

namespace {

using orva_accelerator::win32::UniqueFileHandle;
using orva_accelerator::win32::UniqueKernelHandle;

constexpr wchar_t kPipe[] = L"\\\\.\\pipe\\OrvaTerminationProbe";
constexpr UINT kExitCode = 3;
constexpr int kServers = 8;
constexpr int kClients = 4;
constexpr DWORD kPatienceMs = 10'000;

// Serves one client after the other, a message at a time, each with memory of its own.
void serve() {
  for (;;) {
    const UniqueFileHandle pipe(CreateNamedPipeW(
        kPipe, PIPE_ACCESS_DUPLEX, PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_WAIT,
        PIPE_UNLIMITED_INSTANCES, 8192, 8192, 0, nullptr));
    if (!pipe) return;
    if (!ConnectNamedPipe(pipe.get(), nullptr) && GetLastError() != ERROR_PIPE_CONNECTED) continue;
    char message[64];
    DWORD size = 0;
    while (ReadFile(pipe.get(), message, sizeof message, &size, nullptr)) {
      void* const memory = VirtualAlloc(nullptr, 1 << 16, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
      if (memory != nullptr) (void)VirtualFree(memory, 0, MEM_RELEASE);  // Ours, so it succeeds.
      if (!WriteFile(pipe.get(), message, size, &size, nullptr)) break;
    }
  }
}

[[noreturn]] void beVictim(DWORD lifeMs) {
  for (int server = 0; server < kServers; ++server)
    orva_accelerator::win32::startDetachedThread(serve);
  Sleep(lifeMs);
  (void)TerminateProcess(GetCurrentProcess(), kExitCode);
  std::abort();  // Not reached.
}

void ask(const std::atomic<bool>& over) {
  while (!over) {
    const UniqueFileHandle pipe(
        CreateFileW(kPipe, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    if (!pipe) {
      Sleep(1);
      continue;
    }
    char message[16] = {};
    DWORD size = 0;
    for (int i = 0; i < 20 && !over; ++i) {
      if (!WriteFile(pipe.get(), message, sizeof message, &size, nullptr) ||
          !ReadFile(pipe.get(), message, sizeof message, &size, nullptr)) {
        break;
      }
    }
  }
}

UniqueKernelHandle startVictim(const std::wstring& program, DWORD lifeMs) {
  std::wstring command = L"\"" + program + L"\" victim " + std::to_wstring(lifeMs);
  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process = {};
  if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                      &startup, &process)) {
    return {};
  }
  (void)CloseHandle(process.hThread);  // Not needed.
  return UniqueKernelHandle(process.hProcess);
}

int probe(const std::wstring& program, int cycles) {
  int ended = 0;
  int heldUp = 0;
  for (int cycle = 0; cycle < cycles; ++cycle) {
    const UniqueKernelHandle victim = startVictim(program, 20 + static_cast<DWORD>(cycle % 30));
    if (!victim) return 1;
    std::atomic<bool> over = false;
    std::vector<std::thread> clients;
    for (int client = 0; client < kClients; ++client) clients.emplace_back([&] { ask(over); });
    const bool gone = WaitForSingleObject(victim.get(), kPatienceMs) == WAIT_OBJECT_0;
    DWORD code = 0;
    if (gone && GetExitCodeProcess(victim.get(), &code) && code == kExitCode) ++ended;
    if (!gone) {
      ++heldUp;
      (void)TerminateProcess(victim.get(), 1);  // From outside it can be ended.
    }
    over = true;
    for (std::thread& client : clients) client.join();
  }
  std::printf("%d processes: %d ended as asked, %d held up for %lu ms\n", cycles, ended, heldUp,
              kPatienceMs);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 3 && std::string(argv[1]) == "victim") {
    beVictim(static_cast<DWORD>(std::strtoul(argv[2], nullptr, 10)));
  }
  wchar_t program[MAX_PATH] = {};
  if (GetModuleFileNameW(nullptr, program, MAX_PATH) == 0) return 1;
  return probe(program, argc > 1 ? std::atoi(argv[1]) : 1'000);
}
