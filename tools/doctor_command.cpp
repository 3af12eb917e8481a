// doctor: why the service does not work, without changing anything.
#include <algorithm>

#include "tools/commands.h"
#include "tools/display_width.h"
#include "tools/doctor/file_checks.h"
#include "tools/doctor/finding.h"
#include "tools/doctor/registered_path.h"
#include "tools/doctor/registration_checks.h"
#include "tools/doctor/running_checks.h"
#include "tools/doctor/service_facts.h"

namespace orva_accelerator::tools {
namespace {

void ExamineFiles(const ServiceFacts& facts, bool underWine, Findings& findings) {
  if (!facts.config) {
    findings.push_back({"path", Verdict::Warning, "this account may not read the registration",
                        "run \"OrvaAcceleratorService.exe install\" as administrator"});
    return;
  }
  const RegisteredPath path = ParseRegisteredPath(facts.config->path);
  const std::wstring folder = FolderOf(path.file);
  const std::wstring library = LibraryBelow(folder);
  findings.push_back(CheckSpelling(path, ProgramFilesFolders()));
  findings.push_back(CheckExecutable(path.file));
  findings.push_back(CheckLibrary(library));
  findings.push_back(CheckWriteAccess(
      {folder, path.file, folder + L"\\accel_sdk", FolderOf(library), library}, underWine));
  findings.push_back(CheckStartType(*facts.config));
  findings.push_back(CheckAccount(*facts.config));
  findings.push_back(CheckProcessImage(facts, path));
}

void ExamineRunning(const Options& options, const ServiceFacts& facts, Findings& findings) {
  findings.push_back(CheckPipe("request pipe", options.request, facts, options.timeout));
  const bool answers = findings.back().verdict == Verdict::Ok;
  findings.push_back(CheckPipe("push pipe", options.push, facts, options.timeout));
  findings.push_back(answers ? CheckHeartbeat(options.request, options.clientId, options.timeout)
                             : Finding{"heartbeat",
                                       Verdict::NotChecked,
                                       "nothing is sent to a pipe that is not the service's",
                                       {}});
  findings.push_back(CheckHostApplication(facts));
}

Findings Examine(const Options& options) {
  const bool underWine = RunsUnderWine();
  const ServiceFacts facts = GatherServiceFacts(options.request.serviceName);
  Findings findings{CheckRegistered(facts)};
  if (facts.registered()) {
    findings.push_back(CheckDeletion(facts));
    ExamineFiles(facts, underWine, findings);
    findings.push_back(CheckSecurity(facts, underWine));
    findings.push_back(CheckState(facts));
  }
  ExamineRunning(options, facts, findings);
  return findings;
}

void Print(Context& context, const Finding& finding) {
  if (context.options.json) {
    context.Print("doctor", Json{{"check", finding.check},
                                 {"verdict", VerdictName(finding.verdict)},
                                 {"text", finding.text},
                                 {"advice", finding.advice}});
    return;
  }
  constexpr std::size_t kVerdictWidth = 13;
  constexpr std::size_t kCheckWidth = 18;
  std::string line = Padded(VerdictName(finding.verdict), kVerdictWidth) +
                     Padded(finding.check, kCheckWidth) + WithoutControls(finding.text);
  if (!finding.advice.empty()) {
    line += "\n" + std::string(kVerdictWidth + kCheckWidth, ' ') + "-> " + finding.advice;
  }
  context.Say(line);
}

int RunDoctor(Context& context) {
  const Findings findings = Examine(context.options);
  for (const Finding& finding : findings) Print(context, finding);
  const Verdict worst = WorstOf(findings);
  const auto count = [&findings](Verdict verdict) {
    return std::ranges::count_if(
        findings, [verdict](const Finding& finding) { return finding.verdict == verdict; });
  };
  const auto problems = count(Verdict::Problem);
  const auto warnings = count(Verdict::Warning);
  if (context.options.json) {
    context.Print("doctor", Json{{"problems", problems}, {"warnings", warnings}});
  }
  context.Say("\nProblems: " + std::to_string(problems) +
              ", warnings: " + std::to_string(warnings) + ".");
  if (worst == Verdict::Problem) return kExitProblems;
  return worst == Verdict::Warning ? kExitWarnings : kExitOk;
}

}  // namespace

void AddDoctorCommand(CLI::App& app, Context& context) {
  app.add_subcommand("doctor", "Find out why the service does not work; changes nothing")
      ->callback([&context] { context.action = [&context] { return RunDoctor(context); }; });
}

}  // namespace orva_accelerator::tools
