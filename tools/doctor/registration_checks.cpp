#include "tools/doctor/registration_checks.h"

#include <string>

#include "client/service_errors.h"
#include "service/shared_names.h"
#include "tools/doctor/security_differences.h"

namespace orva_accelerator::tools {
namespace {

constexpr char kSetOnDemand[] =
    "run \"sc.exe config OrvaAcceleratorService start= demand\" as administrator";

std::string install(const ServiceFacts& facts) {
  return runAdvice(facts.serviceFile, "install as administrator");
}

std::string reinstall(const ServiceFacts& facts) {
  return runAdvice(facts.serviceFile, "reinstall as administrator");
}

bool endedUnreported(const SERVICE_STATUS_PROCESS& status, bool processLives) {
  const bool stopped = status.dwCurrentState == SERVICE_STOPPED;
  // A stop ends this service's process without a report, which the manager calls an abortion.
  return stopped ? status.dwWin32ExitCode == ERROR_PROCESS_ABORTED : !processLives;
}

Finding checkUnreportedEnd(const ServiceFacts& facts, const LoggedEnding& ending) {
  if (ending.error != 0) {
    return {
        "state",
        Verdict::Ok,
        withCode("stopped; by a stop or by a fault: the event log cannot be read", ending.error),
        {}};
  }
  if (!ending.fault || !ending.wasAFault()) {
    std::string text = "stopped; no fault is in the event log";
    if (ending.ended) {
      text += ", and its event " + std::to_string(ending.ended->id) + " of " +
              timeText(ending.ended->time) + " is what a stop looks like";
    }
    return {"state", Verdict::Ok, text, {}};
  }
  const LoggedEvent& fault = *ending.fault;
  const auto text = [&fault](std::size_t number) {
    return number < fault.texts.size() ? utf8(fault.texts[number]) : std::string("unknown");
  };
  // As the event's sentence has them: program, its version and time, module, its version and time,
  // code.
  constexpr std::size_t kModule = 3;
  constexpr std::size_t kCode = 6;
  return {"state", Verdict::Warning,
          "ended by a fault: application error 1000 of " + timeText(fault.time) + ", module " +
              text(kModule) + ", exception " + text(kCode),
          "send what eventvwr.exe shows below Windows Logs, Application; " +
              runAdvice(facts.toolFile, "service start")};
}

}  // namespace

Finding checkRegistered(const ServiceFacts& facts) {
  if (facts.registered()) return {"registered", Verdict::Ok, "the service is registered", {}};
  if (facts.openError == ERROR_SERVICE_DOES_NOT_EXIST) {
    return {"registered", Verdict::Problem, "the service is not installed", install(facts)};
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

Finding checkStartType(const ServiceFacts& facts) {
  const ServiceConfig config = facts.config.value_or(ServiceConfig{});
  switch (config.startType) {
    case SERVICE_DEMAND_START:
      return {"start type", Verdict::Ok, "started on demand", {}};
    case SERVICE_AUTO_START:
      return {"start type", Verdict::Warning,
              "started with Windows, although it ends by itself soon after when nobody uses it",
              kSetOnDemand};
    case SERVICE_DISABLED:
      return {"start type", Verdict::Problem, "it is disabled and cannot be started", kSetOnDemand};
    default:
      return {"start type", Verdict::Problem,
              "a start type for drivers: " + std::to_string(config.startType), reinstall(facts)};
  }
}

Finding checkAccount(const ServiceFacts& facts) {
  const ServiceConfig config = facts.config.value_or(ServiceConfig{});
  if (config.type != SERVICE_WIN32_OWN_PROCESS) {
    return {
        "account", Verdict::Problem,
        "it is not registered as a program of its own, but as type " + std::to_string(config.type),
        reinstall(facts)};
  }
  if (config.account.empty() || config.account == L"LocalSystem") {
    return {"account", Verdict::Ok, "runs as LocalSystem, in a process of its own", {}};
  }
  return {"account", Verdict::Problem,
          "runs as " + utf8(config.account) + ", and the library needs LocalSystem",
          reinstall(facts)};
}

Finding checkSecurity(const ServiceFacts& facts, bool underWine) {
  Finding finding{"security", Verdict::Warning, {}, install(facts)};
  if (facts.securityError != 0) {
    finding.text = withCode("this account may not read who may do what", facts.securityError);
    return finding;
  }
  const auto compared = compareServiceSecurity(facts.security, service::kServiceSecurity);
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
  if (!differences.missing.empty()) {
    finding.text += "; missing: " + joined(differences.missing, "; ");
  }
  if (!differences.added.empty()) finding.text += "; added: " + joined(differences.added, "; ");
  if (differences.givingThePc) {
    finding.verdict = Verdict::Problem;
    finding.text += "; others than administrators can run programs as LocalSystem through it";
  }
  return finding;
}

Finding checkState(const ServiceFacts& facts, const LoggedEnding& ending) {
  if (!facts.status) {
    return {"state", Verdict::Warning,
            withCode("this account may not ask for the state", facts.statusError), install(facts)};
  }
  const SERVICE_STATUS_PROCESS& status = *facts.status;
  if (endedUnreported(status, facts.processLives)) return checkUnreportedEnd(facts, ending);
  const std::string process = "process " + std::to_string(status.dwProcessId);
  switch (status.dwCurrentState) {
    case SERVICE_STOPPED:
      if (status.dwWin32ExitCode == 0 || status.dwWin32ExitCode == ERROR_SERVICE_NEVER_STARTED) {
        return {"state", Verdict::Ok, "stopped", {}};
      }
      return {"state", Verdict::Warning,
              withCode("stopped after a failure", status.dwWin32ExitCode),
              runAdvice(facts.toolFile, "service start") + " and look at what that says"};
    case SERVICE_RUNNING:
      return {"state", Verdict::Ok, "running, " + process, {}};
    default:
      return {"state", Verdict::Warning,
              "between states (" + std::to_string(status.dwCurrentState) + "), " + process,
              "ask again in some seconds; if it stays, end the process as administrator"};
  }
}

}  // namespace orva_accelerator::tools
