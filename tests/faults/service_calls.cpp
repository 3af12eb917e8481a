#include "tests/faults/service_calls.h"

namespace orva_accelerator::test {
namespace {

using enum Outcome;

constexpr ServiceCall kServiceCalls[] = {
    // Coming up.
    {"RegisterServiceCtrlHandlerW", NotStarted, "nobody could stop a service without a handler"},
    {"CreateEventA", NotStarted, "the service's stop event, or the server's"},
    {"SetServiceStatus", Unnoticed, "a manager that cannot be told is ending itself"},
    {"SetPriorityClass", Unnoticed, "the service serves as well at the usual priority"},
    {"_beginthreadex", ProcessEnds, "std::thread throws, and nothing catches it"},
    // Listening.
    {"ConvertStringSecurityDescriptorToSecurityDescriptorW", NotListening,
     "no pipe is made without its access list"},
    {"LocalFree", Unnoticed, "of the access list that the other pipe has built before"},
    {"CreateNamedPipeW", RetriedLater, "the system may have room for an instance later"},
    {"ConnectNamedPipe", ConnectionEnded, "the instance is closed and a new one made at once"},
    // Connections.
    {"ReadFile", ConnectionEnded, "what cannot be read is no request and no registration"},
    {"WriteFile", AnswerLost, "of an answer it is ignored; a broadcast drops its client"},
    {"FlushFileBuffers", Unnoticed, "the next read notices a client that has gone"},
    {"DisconnectNamedPipe", Unnoticed, "the pipe is closed in any case"},
    {"CloseHandle", Unnoticed, "nothing can be done about a handle that does not close"},
    {"VirtualAlloc", ProcessEnds, "std::bad_alloc for a payload's memory, which nothing catches"},
    {"VirtualFree", Unnoticed, "nothing can be done about memory that cannot be freed"},
    {"CreateThreadpool", Unnoticed, "tried again by the next broadcast"},
    {"SetThreadpoolThreadMinimum", Unnoticed, "tried again by the next broadcast"},
    {"CreateThreadpoolTimer", Unnoticed, "tried again by the next broadcast"},
    {"WaitForSingleObject", ConnectionEnded,
     "a push client whose wait fails is unregistered; the service's own wait begins anew"},
    // The library.
    {"GetModuleFileNameW", InitialisedLater, "without a path there is no library to load"},
    {"SetDefaultDllDirectories", InitialisedLater, "no library without a safe search for its own"},
    {"AddDllDirectory", Unnoticed, "fails where the library's folder is not there"},
    {"LoadLibraryW", InitialisedLater, "the library may be installed later"},
    {"GetProcAddress", ProcessExits, "a library without one of its functions is unusable"},
    {"MultiByteToWideChar", Unnoticed, "the library is given an empty text"},
    {"WideCharToMultiByte", Unnoticed,
     "the client is given an empty text; a result of a start is lost"},
    // The supervisor.
    {"CreateToolhelp32Snapshot", Unnoticed, "the host application counts as not running"},
    {"Process32FirstW", Unnoticed, "the host application counts as not running"},
    {"Process32NextW", Unnoticed, "the host application counts as not running"},
    {"GetNamedPipeClientProcessId", Unnoticed, "one client counts as gone; the other is there"},
    {"OpenProcess", Unnoticed, "one client counts as gone; the other is there"},
    {"GetExitCodeProcess", Unnoticed, "one client counts as gone; the other is there"},
    // Going down.
    {"SetEvent", Unnoticed, "fails only for a handle that is no event"},
};

constexpr char kCannotFail[] = "reports no failure";
constexpr char kRegistration[] = "installing and removing: failed in tests/service";
constexpr char kOwnPath[] = "finding the path to register: failed in tests/service";

constexpr OtherImport kOtherServiceImports[] = {
    {"GetCurrentProcess", kCannotFail},
    {"GetCurrentThreadId", kCannotFail},
    {"GetErrorMode", kCannotFail},
    {"SetErrorMode", kCannotFail},
    {"GetLastError", kCannotFail},
    {"SetLastError", kCannotFail},
    {"OutputDebugStringA", kCannotFail},
    {"SetThreadpoolThreadMaximum", kCannotFail},
    {"SetThreadpoolTimer", kCannotFail},
    {"QueryUnbiasedInterruptTime", kCannotFail},
    {"Sleep", kCannotFail},
    {"OpenThread", "for a write that blocks for two seconds: tests/ipc/write_watchdog_test.cpp"},
    {"CancelSynchronousIo",
     "for a write that blocks for two seconds: tests/ipc/write_watchdog_test.cpp"},
    {"ResetEvent", "for a second start of one server, which the service does not make"},
    {"RemoveDllDirectory", "after a load that failed; the folder is then searched twice"},
    {"FreeLibrary", "for a library that was loaded and not resolved: tests/sdk"},
    {"LoadLibraryExW", "for a message box on the way to the end of the process: tests/sdk"},
    {"StartServiceCtrlDispatcherW", "before there is a service: failed in tests/service"},
    {"ChangeServiceConfig2W", kRegistration},
    {"ChangeServiceConfigW", kRegistration},
    {"CloseServiceHandle", kRegistration},
    {"ControlService", kRegistration},
    {"CreateServiceW", kRegistration},
    {"DeleteService", kRegistration},
    {"OpenSCManagerW", kRegistration},
    {"OpenServiceW", kRegistration},
    {"QueryServiceConfigW", kRegistration},
    {"QueryServiceStatus", kRegistration},
    {"SetServiceObjectSecurity", kRegistration},
    {"CompareStringOrdinal", kOwnPath},
    {"GetFileAttributesW", kOwnPath},
};

constexpr char kThreads[] = "threads, mutexes and clocks of the C++ library";
constexpr char kExceptions[] = "exceptions, and reporting them";
constexpr char kStartUp[] = "start-up code of the C runtime";
constexpr char kText[] = "text of the C and C++ libraries";

constexpr OtherImport kRuntimeImports[] = {
    {"GetTickCount", kThreads},
    {"GetTickCount64", kThreads},
    {"CreateSemaphoreA", kThreads},
    {"DeleteCriticalSection", kThreads},
    {"DuplicateHandle", kThreads},
    {"EnterCriticalSection", kThreads},
    {"FileTimeToSystemTime", kThreads},
    {"GetCurrentProcessId", kThreads},
    {"GetCurrentThread", kThreads},
    {"GetHandleInformation", kThreads},
    {"GetProcessAffinityMask", kThreads},
    {"GetProcessTimes", kThreads},
    {"GetSystemTimeAdjustment", kThreads},
    {"GetSystemTimeAsFileTime", kThreads},
    {"GetThreadContext", kThreads},
    {"GetThreadPriority", kThreads},
    {"GetThreadTimes", kThreads},
    {"InitializeCriticalSection", kThreads},
    {"LeaveCriticalSection", kThreads},
    {"QueryPerformanceCounter", kThreads},
    {"QueryPerformanceFrequency", kThreads},
    {"ReleaseSemaphore", kThreads},
    {"ResumeThread", kThreads},
    {"SetProcessAffinityMask", kThreads},
    {"SetSystemTime", kThreads},
    {"SetThreadContext", kThreads},
    {"SetThreadPriority", kThreads},
    {"SuspendThread", kThreads},
    {"TlsAlloc", kThreads},
    {"TlsGetValue", kThreads},
    {"TlsSetValue", kThreads},
    {"TryEnterCriticalSection", kThreads},
    {"WaitForMultipleObjects", kThreads},
    {"AddVectoredExceptionHandler", kExceptions},
    {"RemoveVectoredExceptionHandler", kExceptions},
    {"IsDebuggerPresent", kExceptions},
    {"RaiseException", kExceptions},
    {"RtlCaptureContext", kExceptions},
    {"RtlLookupFunctionEntry", kExceptions},
    {"RtlUnwindEx", kExceptions},
    {"RtlVirtualUnwind", kExceptions},
    {"SetUnhandledExceptionFilter", kExceptions},
    {"__C_specific_handler", kExceptions},
    {"GetModuleHandleA", kStartUp},
    {"GetModuleHandleW", kStartUp},
    {"GetStartupInfoW", kStartUp},
    {"VirtualProtect", kStartUp},
    {"VirtualQuery", kStartUp},
    {"FormatMessageA", kText},
    {"IsDBCSLeadByteEx", kText},
};

}  // namespace

std::span<const ServiceCall> serviceCalls() {
  return kServiceCalls;
}
std::span<const OtherImport> otherServiceImports() {
  return kOtherServiceImports;
}
std::span<const OtherImport> runtimeImports() {
  return kRuntimeImports;
}

}  // namespace orva_accelerator::test
