// What the system knows about the service, gathered without changing anything.
#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orva_accelerator::tools {

struct ServiceConfig {
  std::wstring path;  // As registered: maybe quoted, maybe with arguments.
  std::wstring account;
  DWORD type = 0;
  DWORD startType = 0;
};

// Each part has rights of its own, and one that is withheld must not hide the others.
struct ServiceFacts {
  DWORD openError = 0;  // Why the service cannot even be opened; the rest is empty then.
  std::optional<ServiceConfig> config;
  DWORD configError = 0;
  std::optional<SERVICE_STATUS_PROCESS> status;
  DWORD statusError = 0;
  bool processLives = false;           // The status names a process, and it is there.
  std::vector<std::uint8_t> security;  // Self-relative descriptor; empty with securityError.
  DWORD securityError = 0;
  // The manager keeps its note of a pending deletion in the registry; no call of it that only reads
  // tells.
  std::optional<bool> deletePending;

  std::wstring
      serviceFile;        // The registered one if it is there, or else where it would be expected.
  std::wstring toolFile;  // This program.

  bool registered() const { return openError == 0; }
  bool running() const {
    return processLives && status && status->dwCurrentState == SERVICE_RUNNING;
  }
};

ServiceFacts gatherServiceFacts(const std::wstring& serviceName);

// Wine keeps no access lists for services and makes up those of files.
bool runsUnderWine();

}  // namespace orva_accelerator::tools
