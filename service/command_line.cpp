#include "service/command_line.h"

#include <windows.h>

#include <cstdarg>
#include <cstdio>
#include <cwchar>
#include <optional>
#include <string>
#include <string_view>

#include "service/registration.h"
#include "service/service_host.h"
#include "service/service_identity.h"
#include "win32/executable_path.h"

namespace orva_accelerator::service {

namespace {

constexpr int kFailed = 1;

int install() {
  const std::optional<std::wstring> path = win32::ownExecutablePath();
  return path ? installService(*path) : kFailed;
}

int uninstall() {
  const int result = uninstallService();
  if (result == 0) {
    printMessage(L"Service uninstalled successfully.\n");
  } else {
    printMessage(L"Failed to uninstall service, error code: %d\n", result);
  }
  return result;
}

int reinstall() {
  const std::optional<std::wstring> path = win32::ownExecutablePath();
  return path ? reinstallService(*path) : kFailed;
}

int update() {
  const int result = updateServicePath();
  if (result == 0) {
    printMessage(L"Service path updated successfully.\n");
  } else {
    printMessage(L"Failed to update service path: %ls (error code: %d)\n",
                 updateFailureReason(result), result);
  }
  return result;
}

int runAsService() {
  // The table wants it writable.
  std::wstring name = kServiceName;
  const SERVICE_TABLE_ENTRYW table[] = {{name.data(), serviceMain}, {nullptr, nullptr}};
  if (StartServiceCtrlDispatcherW(table)) return 0;
  const DWORD error = GetLastError();
  printMessage(L"StartServiceCtrlDispatcherW failed: %d\n", static_cast<int>(error));
  return kFailed;
}

struct Command {
  std::wstring_view word;
  int (*run)();
};

constexpr Command kCommands[] = {
    {L"install", install},
    {L"uninstall", uninstall},
    {L"reinstall", reinstall},
    {L"update", update},
};

}  // namespace

void printMessage(const wchar_t* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  // Whoever closed the output still gets the exit code.
  (void)std::vfwprintf(stdout, format, arguments);
  va_end(arguments);
}

const wchar_t* updateFailureReason(int result) {
  switch (result) {
    case -1:
      return L"Service not installed";
    case -2:
      return L"Failed to open service";
    case -3:
      return L"Failed to update service config";
    case -4:
      return L"Update verification failed";
    default:
      return L"Unknown error";
  }
}

int runCommandLine(int argc, const wchar_t* const* argv) {
  if (argc >= 2) {
    for (const Command& command : kCommands) {
      if (command.word == argv[1]) return command.run();
    }
  }
  return runAsService();
}

}  // namespace orva_accelerator::service
