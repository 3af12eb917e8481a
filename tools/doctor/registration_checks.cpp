#include "tools/doctor/registration_checks.h"

#include <string>

#include "client/service_errors.h"
#include "service/shared_names.h"
#include "tools/doctor/security_differences.h"

namespace orva_accelerator::tools {
namespace {

constexpr char kInstall[] = "run \"OrvaAcceleratorService.exe install\" as administrator";
constexpr char kReinstall[] = "run \"OrvaAcceleratorService.exe reinstall\" as administrator";

std::string withCode(std::string text, DWORD code) {
  return text + " (Win32 error " + std::to_string(code) + ")";
}

std::string joined(const std::vector<std::string>& parts) {
  std::string text;
  for (const std::string& part : parts) text += (text.empty() ? "" : "; ") + part;
  return text;
}

}  // namespace

Finding checkRegistered(const ServiceFacts& facts) {
  if (facts.registered()) return {"registered", Verdict::Ok, "the service is registered", {}};
  if (facts.openError == ERROR_SERVICE_DOES_NOT_EXIST) {
    return {"registered", Verdict::Problem, "the service is not installed", kInstall};
  }
  return {"registered",
          Verdict::Problem,
          withCode("the service cannot be looked at: " +
                       client::serviceError("open the service", facts.openError).text,
                   facts.openError),
          {}};
}

Finding checkDeletion(const ServiceFacts& facts) {
  if (!facts.deletePending) {
    return {"deletion", Verdict::NotChecked, "the registry does not tell", {}};
  }
  if (!*facts.deletePending) return {"deletion", Verdict::Ok, "it is not being deleted", {}};
  return {
      "deletion", Verdict::Problem,
      "it is marked for deletion: it can neither be started nor installed (Win32 error 1072)",
      "stop it and close every program that shows services (Services, Task Manager), or restart "
      "the PC; then install it again"};
}

Finding checkStartType(const ServiceConfig& config) {
  switch (config.startType) {
    case SERVICE_DEMAND_START:
      return {"start type", Verdict::Ok, "started on demand", {}};
    case SERVICE_AUTO_START:
      return {"start type", Verdict::Warning,
              "started with Windows, although it ends by itself soon after when nobody uses it",
              "sc config OrvaAcceleratorService start= demand, as administrator"};
    case SERVICE_DISABLED:
      return {"start type", Verdict::Problem, "it is disabled and cannot be started",
              "sc config OrvaAcceleratorService start= demand, as administrator"};
    default:
      return {"start type", Verdict::Problem,
              "a start type for drivers: " + std::to_string(config.startType), kReinstall};
  }
}

Finding checkAccount(const ServiceConfig& config) {
  if (config.type != SERVICE_WIN32_OWN_PROCESS) {
    return {
        "account", Verdict::Problem,
        "it is not registered as a program of its own, but as type " + std::to_string(config.type),
        kReinstall};
  }
  if (config.account.empty() || config.account == L"LocalSystem") {
    return {"account", Verdict::Ok, "runs as LocalSystem, in a process of its own", {}};
  }
  return {"account", Verdict::Problem,
          "runs as " + utf8(config.account) + ", and the library needs LocalSystem", kReinstall};
}

Finding checkSecurity(const ServiceFacts& facts, bool underWine) {
  Finding finding{"security", Verdict::Warning, {}, kInstall};
  if (facts.securityError != 0) {
    finding.text = withCode("this account may not read who may do what", facts.securityError);
    return finding;
  }
  std::vector<std::uint8_t> descriptor = facts.security;
  const auto compared = compareServiceSecurity(descriptor.data(), service::kServiceSecurity);
  if (!compared || compared.value().unreadable) {
    finding.text = "who may start and stop it cannot be verified: there is no list to read";
    if (underWine) finding.advice = "nothing; Wine does not keep it";
    return finding;
  }
  const SecurityDifferences& differences = compared.value();
  if (differences.missing.empty() && differences.added.empty()) {
    return {"security", Verdict::Ok, "signed-in users may start and stop it, and no more", {}};
  }
  finding.text = "not as installed";
  if (!differences.missing.empty()) finding.text += "; missing: " + joined(differences.missing);
  if (!differences.added.empty()) finding.text += "; added: " + joined(differences.added);
  if (differences.lettingUsersReconfigure) {
    finding.verdict = Verdict::Problem;
    finding.text += "; any user can run programs as LocalSystem through it";
  }
  return finding;
}

Finding checkState(const ServiceFacts& facts) {
  if (!facts.status) {
    return {"state", Verdict::Warning,
            withCode("this account may not ask for the state", facts.statusError), kInstall};
  }
  const SERVICE_STATUS_PROCESS& status = *facts.status;
  const std::string process = "process " + std::to_string(status.dwProcessId);
  if (status.dwCurrentState == SERVICE_STOPPED) {
    Finding finding{"state", Verdict::Ok, "stopped", {}};
    // A stop ends this service's process without a report, which the manager calls an abortion.
    if (status.dwWin32ExitCode != 0 && status.dwWin32ExitCode != ERROR_PROCESS_ABORTED &&
        status.dwWin32ExitCode != ERROR_SERVICE_NEVER_STARTED) {
      finding.verdict = Verdict::Warning;
      finding.text = withCode("stopped after a failure", status.dwWin32ExitCode);
      finding.advice = "start it with \"orvactl service start\" and look at what that says";
    }
    return finding;
  }
  if (!facts.processLives) {
    return {"state",
            Verdict::Ok,
            "stopped: the manager has not noticed that " + process + " has ended",
            {}};
  }
  if (status.dwCurrentState == SERVICE_RUNNING) {
    return {"state", Verdict::Ok, "running, " + process, {}};
  }
  return {"state", Verdict::Warning,
          "between states (" + std::to_string(status.dwCurrentState) + "), " + process,
          "ask again in some seconds; if it stays, end the process as administrator"};
}

}  // namespace orva_accelerator::tools
