// The surroundings of a service that runs inside a test process, with one call that fails.
#pragma once

#include <windows.h>

// After <windows.h>, which they need.
#include <process.h>
#include <sddl.h>
#include <tlhelp32.h>

#include <atomic>
#include <cstddef>
#include <string>

#include "tests/faults/handle_ledger.h"
#include "tests/faults/injected_call.h"
#include "tests/support/fake_kernel.h"

namespace orva_accelerator::test {

// Takes the place of the service control manager and of the acceleration library, gives the two
// pipes names of their own, and lets time pass at once: a retry does not wait, and the supervisor
// looks around when it is told to. Everything else is the real system.
class FaultStage {
 public:
  FaultStage(const std::string& function, std::size_t call);

  const Fault& fault() const { return fault_; }
  FakeKernel& kernel() { return kernel_; }
  const std::wstring& requestPipe() const { return requestPipe_; }
  const std::wstring& pushPipe() const { return pushPipe_; }

  // What the service has reported last; 0 before the first report.
  DWORD reportedState() const { return reportedState_; }
  // Pauses of 1000 ms.
  std::size_t retries() const { return retries_; }
  // Pipes, processes and snapshots that the service has opened and not closed.
  std::size_t openPipes() const { return pipes_.size(); }
  std::size_t openProcesses() const { return processes_.size(); }
  // A pipe was made that anybody could have opened.
  bool madeUnsecuredPipe() const { return madeUnsecuredPipe_; }

  // Lets the supervisor look around once; false if it does not come back to its pause.
  [[nodiscard]] bool runSupervisor();

 private:
  template <typename Function>
  using Call = InjectedCall<Function>;
  using BeginThread = uintptr_t(void*, unsigned, unsigned (*)(void*), void*, unsigned, unsigned*);

  void playServiceManager();
  void playSystem();
  void recogniseEvents();
  void recogniseLibrary();
  void keepLedgers();
  void pause(DWORD milliseconds);
  HANDLE createPipe(LPCWSTR name, DWORD openMode, DWORD pipeMode, DWORD instances, DWORD outSize,
                    DWORD inSize, DWORD timeout, LPSECURITY_ATTRIBUTES security);

  FakeKernel kernel_;  // First: its patches must go last.
  Fault fault_;
  std::wstring requestPipe_;
  std::wstring pushPipe_;
  std::atomic<DWORD> reportedState_{0};
  std::atomic<std::size_t> retries_{0};
  std::atomic<std::size_t> supervisorPauses_{0};
  std::atomic<std::size_t> supervisorRuns_{0};
  std::atomic<bool> registered_{false};
  std::atomic<bool> madeUnsecuredPipe_{false};
  std::atomic<HANDLE> events_[2] = {};
  std::atomic<std::size_t> eventCount_{0};
  HandleLedger pipes_;
  HandleLedger processes_;

  Call<decltype(RegisterServiceCtrlHandlerW)> register_{fault_, "advapi32.dll",
                                                        "RegisterServiceCtrlHandlerW", nullptr};
  Call<decltype(SetServiceStatus)> report_{fault_, "advapi32.dll", "SetServiceStatus", FALSE};
  Call<decltype(ConvertStringSecurityDescriptorToSecurityDescriptorW)> convert_{
      fault_, "advapi32.dll", "ConvertStringSecurityDescriptorToSecurityDescriptorW", FALSE};
  Call<decltype(LocalFree)> localFree_{fault_, "kernel32.dll", "LocalFree", &fault_};
  Call<decltype(SetPriorityClass)> priority_{fault_, "kernel32.dll", "SetPriorityClass", FALSE};
  Call<decltype(CreateEventA)> createEvent_{fault_, "kernel32.dll", "CreateEventA", nullptr};
  Call<decltype(SetEvent)> setEvent_{fault_, "kernel32.dll", "SetEvent", FALSE};
  Call<decltype(WaitForSingleObject)> wait_{fault_, "kernel32.dll", "WaitForSingleObject",
                                            WAIT_FAILED};
  Call<BeginThread> beginThread_{fault_, kThreadRuntime, "_beginthreadex", 0};
  Call<decltype(CreateNamedPipeW)> createPipe_{fault_, "kernel32.dll", "CreateNamedPipeW",
                                               INVALID_HANDLE_VALUE};
  Call<decltype(ConnectNamedPipe)> connect_{fault_, "kernel32.dll", "ConnectNamedPipe", FALSE};
  Call<decltype(ReadFile)> read_{fault_, "kernel32.dll", "ReadFile", FALSE};
  Call<decltype(WriteFile)> write_{fault_, "kernel32.dll", "WriteFile", FALSE};
  Call<decltype(FlushFileBuffers)> flush_{fault_, "kernel32.dll", "FlushFileBuffers", FALSE};
  Call<decltype(DisconnectNamedPipe)> disconnect_{fault_, "kernel32.dll", "DisconnectNamedPipe",
                                                  FALSE};
  Call<decltype(CloseHandle)> close_{fault_, "kernel32.dll", "CloseHandle", FALSE};
  Call<decltype(VirtualAlloc)> virtualAlloc_{fault_, "kernel32.dll", "VirtualAlloc", nullptr};
  Call<decltype(VirtualFree)> virtualFree_{fault_, "kernel32.dll", "VirtualFree", FALSE};
  Call<decltype(CreateThreadpool)> createPool_{fault_, "kernel32.dll", "CreateThreadpool", nullptr};
  Call<decltype(SetThreadpoolThreadMinimum)> poolMinimum_{fault_, "kernel32.dll",
                                                          "SetThreadpoolThreadMinimum", FALSE};
  Call<decltype(CreateThreadpoolTimer)> createTimer_{fault_, "kernel32.dll",
                                                     "CreateThreadpoolTimer", nullptr};
  Call<decltype(GetModuleFileNameW)> modulePath_{fault_, "kernel32.dll", "GetModuleFileNameW", 0};
  Call<decltype(SetDefaultDllDirectories)> dllDirectories_{fault_, "kernel32.dll",
                                                           "SetDefaultDllDirectories", FALSE};
  Call<decltype(AddDllDirectory)> addDirectory_{fault_, "kernel32.dll", "AddDllDirectory", nullptr};
  Call<HMODULE(LPCWSTR)> loadLibrary_{fault_, "kernel32.dll", "LoadLibraryW", nullptr,
                                      ERROR_MOD_NOT_FOUND};
  Call<FARPROC(HMODULE, LPCSTR)> procAddress_{fault_, "kernel32.dll", "GetProcAddress", nullptr,
                                              ERROR_PROC_NOT_FOUND};
  Call<decltype(MultiByteToWideChar)> toWide_{fault_, "kernel32.dll", "MultiByteToWideChar", 0};
  Call<decltype(WideCharToMultiByte)> toUtf8_{fault_, "kernel32.dll", "WideCharToMultiByte", 0};
  Call<decltype(CreateToolhelp32Snapshot)> snapshot_{
      fault_, "kernel32.dll", "CreateToolhelp32Snapshot", INVALID_HANDLE_VALUE};
  Call<decltype(Process32FirstW)> first_{fault_, "kernel32.dll", "Process32FirstW", FALSE};
  Call<decltype(Process32NextW)> next_{fault_, "kernel32.dll", "Process32NextW", FALSE};
  Call<decltype(GetNamedPipeClientProcessId)> clientProcess_{fault_, "kernel32.dll",
                                                             "GetNamedPipeClientProcessId", FALSE};
  Call<decltype(OpenProcess)> openProcess_{fault_, "kernel32.dll", "OpenProcess", nullptr};
  Call<decltype(GetExitCodeProcess)> exitCode_{fault_, "kernel32.dll", "GetExitCodeProcess", FALSE};

  ImportHook<decltype(Sleep)> sleep_{"kernel32.dll", "Sleep"};
  ImportHook<decltype(LoadLibraryExW)> user32_{"kernel32.dll", "LoadLibraryExW"};
};

}  // namespace orva_accelerator::test
