#include "tools/doctor/running_checks.h"

#include <windows.h>

#include <string>
#include <utility>

#include "client/server_process.h"
#include "client/service_client.h"
#include "win32/image_path.h"
#include "win32/process_list.h"

namespace orva_accelerator::tools {
namespace {

constexpr wchar_t kHostApplication[] = L"Zandor.exe";

bool runsAnywhere(const wchar_t* program) {
  return win32::findProcess([program](const win32::RunningProcess& process) {
           return equalIgnoringCase(process.imageName, program);
         }) == win32::ProcessSearch::Found;
}

}  // namespace

Finding checkProcessImage(const ServiceFacts& facts, const RegisteredPath& registered) {
  if (!facts.processLives) return {"process", Verdict::NotChecked, "the service is stopped", {}};
  const std::wstring image = win32::imagePathOf(facts.status->dwProcessId);
  if (image.empty()) {
    return {
        "process", Verdict::NotChecked, "this account may not ask what the process executes", {}};
  }
  if (equalIgnoringCase(image, registered.file)) {
    return {"process", Verdict::Ok, "executes the registered file", {}};
  }
  return {"process", Verdict::Warning, "executes " + utf8(image) + " instead",
          runAdvice(facts.toolFile, "service restart")};
}

Finding checkPipe(const char* check, client::Endpoint endpoint, const ServiceFacts& facts,
                  std::chrono::milliseconds timeout) {
  endpoint.verifyServer = false;
  // Without a service there is nothing to wait for.
  const auto limit = facts.running() ? timeout : std::chrono::milliseconds(0);
  const auto pipe = client::openPipe(endpoint, client::Deadline::after(limit), "open the pipe");
  if (!pipe && !facts.running()) {
    return {check, Verdict::NotChecked, "the service does not run", {}};
  }
  if (!pipe) {
    return {check, Verdict::Problem, client::describe(pipe.error()),
            runAdvice(facts.toolFile, "service restart")};
  }
  const std::uint32_t service = facts.processLives ? facts.status->dwProcessId : 0;
  const auto checked = client::checkServer(pipe.value().handle(), service);
  if (checked) return {check, Verdict::Ok, "answers, and is the service's", {}};
  if (checked.error().kind != client::ErrorKind::NotTheService) {
    return {check, Verdict::Warning, client::describe(checked.error()), {}};
  }
  return {check, Verdict::Problem, checked.error().text + ": it is not the service",
          "find out what that process is, and end it"};
}

Finding checkHostApplication(const ServiceFacts& facts) {
  if (runsAnywhere(kHostApplication)) {
    return {"host application", Verdict::Ok, "Zandor.exe runs and keeps the service running", {}};
  }
  return {"host application",
          facts.running() ? Verdict::Ok : Verdict::NotChecked,
          "Zandor.exe does not run: the service ends by itself unless a client listens",
          {}};
}

Finding checkHeartbeat(const client::Endpoint& endpoint, std::uint32_t clientId,
                       const ServiceFacts& facts, std::chrono::milliseconds timeout) {
  Finding finding{"heartbeat", Verdict::Problem, {}, runAdvice(facts.toolFile, "service restart")};
  auto channel = client::RequestChannel::open(endpoint, client::Deadline::after(timeout));
  if (!channel) {
    finding.text = client::describe(channel.error());
    return finding;
  }
  client::ServiceClient service(std::move(channel.value()), clientId, timeout);
  const auto before = std::chrono::steady_clock::now();
  const auto answer = service.heartbeat();
  const auto taken = std::chrono::steady_clock::now() - before;
  if (!answer) {
    finding.text = client::describe(answer.error());
    return finding;
  }
  const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(taken).count();
  return {
      "heartbeat", Verdict::Ok, "answered in " + std::to_string(microseconds) + " \xC2\xB5s", {}};
}

}  // namespace orva_accelerator::tools
