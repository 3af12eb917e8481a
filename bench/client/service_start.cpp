#include "bench/client/service_start.h"

#include <windows.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <vector>

#include "bench/client/pipe_client.h"
#include "bench/client/rounds.h"
#include "bench/client/statistics.h"
#include "ipc/wire/messages.h"
#include "ipc/wire/pipe_names.h"
#include "tests/support/handle_count.h"
#include "win32/service_access.h"

namespace orva_accelerator::bench {

namespace {

constexpr double kTimeoutUs = 30e6;
constexpr DWORD kPatienceMs = 10'000;
constexpr wchar_t kEmptyService[] = L"OrvaBenchEmpty";

// One of the two, opened for as long as this lives.
class MeasuredService {
 public:
  explicit MeasuredService(const std::wstring& name)
      : service_(
            win32::openService(name.c_str(), SERVICE_START | SERVICE_STOP | SERVICE_QUERY_STATUS)) {
    if (!service_) failCall("OpenServiceW", GetLastError());
  }

  // Milliseconds until it says that it runs.
  double start() const {
    const Stopwatch watch;
    if (!StartServiceW(service_.get(), 0, nullptr)) failCall("StartServiceW", GetLastError());
    while (status().dwCurrentState != SERVICE_RUNNING) {
      if (watch.elapsedUs() > kTimeoutUs) throw std::runtime_error("a service does not run");
      Sleep(1);
    }
    return watch.elapsedUs() / 1000;
  }

  // Until its process has gone. Wine sometimes does not let one go whose threads are blocked in
  // pipe calls; see tests/soak/termination_probe.cpp. It is helped: what is measured is the start.
  void stop() const {
    const win32::UniqueKernelHandle process(
        OpenProcess(SYNCHRONIZE | PROCESS_TERMINATE, FALSE, processId()));
    if (!process) failCall("OpenProcess", GetLastError());
    SERVICE_STATUS last = {};
    // The process may end inside the call, which then fails: the process tells.
    (void)ControlService(service_.get(), SERVICE_CONTROL_STOP, &last);
    if (WaitForSingleObject(process.get(), kPatienceMs) == WAIT_OBJECT_0) return;
    // The wait tells.
    (void)TerminateProcess(process.get(), 1);
    if (WaitForSingleObject(process.get(), kPatienceMs) != WAIT_OBJECT_0) {
      throw std::runtime_error("a service does not end");
    }
  }

  DWORD processId() const { return status().dwProcessId; }

 private:
  SERVICE_STATUS_PROCESS status() const {
    SERVICE_STATUS_PROCESS status = {};
    DWORD needed = 0;
    if (!QueryServiceStatusEx(service_.get(), SC_STATUS_PROCESS_INFO,
                              reinterpret_cast<BYTE*>(&status), sizeof(status), &needed)) {
      failCall("QueryServiceStatusEx", GetLastError());
    }
    return status;
  }

  win32::OpenedService service_;
};

void installEmptyService(const std::wstring& path) {
  const auto manager = win32::openServiceManager(SC_MANAGER_CREATE_SERVICE);
  if (!manager) failCall("OpenSCManagerW", GetLastError());
  const win32::UniqueServiceHandle service(
      CreateServiceW(manager.get(), kEmptyService, kEmptyService, SERVICE_ALL_ACCESS,
                     SERVICE_WIN32_OWN_PROCESS, SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL,
                     path.c_str(), nullptr, nullptr, nullptr, nullptr, nullptr));
  if (!service) failCall("CreateServiceW", GetLastError());
}

void writeJson(const std::string& path, const nlohmann::ordered_json& content) {
  std::ofstream file(path, std::ios::trunc);
  file << content.dump() << "\n";
  file.close();
  if (!file) throw std::runtime_error("cannot write " + path);
}

nlohmann::ordered_json jsonOf(const std::vector<double>& milliseconds) {
  const Spread spread = spreadOf(milliseconds);
  return {
      {"median", spread.median}, {"min", spread.min}, {"max", spread.max}, {"count", spread.count}};
}

std::size_t handlesOf(const std::wstring& service) {
  const auto count = test::handleCount(MeasuredService(service).processId());
  if (!count) throw std::runtime_error("the handles of a service cannot be counted");
  return *count;
}

}  // namespace

void measureServiceStarts(const std::wstring& service, const std::wstring& emptyPath, int repeats,
                          const std::string& folder) {
  installEmptyService(emptyPath);
  const MeasuredService product(service);
  const MeasuredService empty(kEmptyService);
  std::vector<double> emptyMs;
  std::vector<double> runningMs;
  std::vector<double> answeredMs;
  // The first of each reads the files for all others, and counts for nothing.
  for (int i = 0; i <= repeats; ++i) {
    if (i > 0) {
      product.stop();
      empty.stop();
    }
    const double emptyTook = empty.start();
    const Stopwatch watch;
    const double took = product.start();
    RequestPipe pipe(ipc::kRequestPipeName);
    pipe.send(ipc::MsgHeartbeat, {});
    // Its content is known.
    (void)pipe.receive();
    const double answered = watch.elapsedUs() / 1000;
    if (i == 0) continue;
    emptyMs.push_back(emptyTook);
    runningMs.push_back(took);
    answeredMs.push_back(answered);
  }
  writeJson(folder + "/start.json", {{"emptyRunningMs", jsonOf(emptyMs)},
                                     {"runningMs", jsonOf(runningMs)},
                                     {"firstAnswerMs", jsonOf(answeredMs)}});
}

void countServiceHandles(const std::wstring& service, const std::string& folder) {
  writeJson(folder + "/handles.json",
            {{"service", handlesOf(service)}, {"empty", handlesOf(kEmptyService)}});
}

}  // namespace orva_accelerator::bench
