// doctor: why the service does not work, without changing anything.
#include <algorithm>

#include "service/shared_names.h"
#include "tools/commands.h"
#include "tools/display_width.h"
#include "tools/doctor/file_checks.h"
#include "tools/doctor/finding.h"
#include "tools/doctor/registered_path.h"
#include "tools/doctor/registration_checks.h"
#include "tools/doctor/running_checks.h"
#include "tools/doctor/service_facts.h"
#include "tools/doctor/write_access.h"

namespace orva_accelerator::tools {
namespace {

constexpr wchar_t kServiceFile[] = L"OrvaAcceleratorService.exe";

void examineFiles(const ServiceFacts& facts, bool underWine, Findings& findings) {
  if (!facts.config) {
    findings.push_back({"path", Verdict::Warning, "this account may not read the registration",
                        runAdvice(facts.serviceFile, "install as administrator")});
    return;
  }
  const RegisteredPath path = parseRegisteredPath(facts.config->path);
  const std::wstring folder = folderOf(path.file);
  const std::wstring library = libraryBelow(folder);
  findings.push_back(checkSpelling(path, programFilesFolders()));
  findings.push_back(checkExecutable(path.file));
  findings.push_back(checkLibrary(folder));
  findings.push_back(checkVersions(path.file, library));
  findings.push_back(checkWriteAccess(
      {folder, path.file, folder + L"\\accel_sdk", folderOf(library), library}, underWine));
  findings.push_back(checkStartType(facts));
  findings.push_back(checkAccount(facts));
  findings.push_back(checkProcessImage(facts, path));
}

void examineRunning(const Options& options, const ServiceFacts& facts, Findings& findings) {
  findings.push_back(checkPipe("request pipe", options.request, facts, options.timeout));
  const bool answers = findings.back().verdict == Verdict::Ok;
  findings.push_back(checkPipe("push pipe", options.push, facts, options.timeout));
  findings.push_back(answers
                         ? checkHeartbeat(options.request, options.clientId, facts, options.timeout)
                         : Finding{"heartbeat",
                                   Verdict::NotChecked,
                                   "nothing is sent to a pipe that is not the service's",
                                   {}});
  findings.push_back(checkHostApplication(facts));
}

Findings examine(const Options& options) {
  const bool underWine = runsUnderWine();
  const ServiceFacts facts = gatherServiceFacts(options.request.serviceName);
  Findings findings{checkRegistered(facts)};
  if (facts.registered()) {
    findings.push_back(checkDeletion(facts));
    examineFiles(facts, underWine, findings);
    findings.push_back(checkSecurity(facts, underWine));
    findings.push_back(checkState(
        facts, findLoggedEnding(readEventLog, service::kServiceDisplayName, kServiceFile)));
  }
  examineRunning(options, facts, findings);
  return findings;
}

void print(Context& context, const Finding& finding) {
  if (context.options.json) {
    context.print("doctor", Json{{"check", finding.check},
                                 {"verdict", verdictName(finding.verdict)},
                                 {"text", finding.text},
                                 {"advice", finding.advice}});
    return;
  }
  constexpr std::size_t kVerdictWidth = 13;
  constexpr std::size_t kCheckWidth = 18;
  std::string line = padded(verdictName(finding.verdict), kVerdictWidth) +
                     padded(finding.check, kCheckWidth) + withoutControls(finding.text);
  if (!finding.advice.empty()) {
    line += "\n" + std::string(kVerdictWidth + kCheckWidth, ' ') + "-> " +
            withoutControls(finding.advice);
  }
  context.say(line);
}

int runDoctor(Context& context) {
  const Findings findings = examine(context.options);
  for (const Finding& finding : findings) print(context, finding);
  const Verdict worst = worstOf(findings);
  const auto count = [&findings](Verdict verdict) {
    return std::ranges::count_if(
        findings, [verdict](const Finding& finding) { return finding.verdict == verdict; });
  };
  const auto problems = count(Verdict::Problem);
  const auto warnings = count(Verdict::Warning);
  context.report(
      "doctor", Json{{"problems", problems}, {"warnings", warnings}},
      "\nProblems: " + std::to_string(problems) + ", warnings: " + std::to_string(warnings) + ".");
  if (worst == Verdict::Problem) return ExitProblems;
  return worst == Verdict::Warning ? ExitWarnings : ExitOk;
}

}  // namespace

void addDoctorCommand(CLI::App& app, Context& context) {
  whenChosen(
      *app.add_subcommand("doctor", "Find out why the service does not work; changes nothing"),
      context, runDoctor);
}

}  // namespace orva_accelerator::tools
