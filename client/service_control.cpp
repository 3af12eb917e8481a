#include "client/service_control.h"

#include <algorithm>
#include <utility>

#include "client/process_watch.h"
#include "client/service_errors.h"
#include "win32/service_access.h"

namespace orva_accelerator::client {
namespace {

using win32::OpenedService;

// Nobody notices it, and the manager answers in microseconds.
constexpr std::uint32_t kPollMs = 50;

Result<OpenedService> openRegistered(const std::wstring& name, DWORD access, const char* step) {
  OpenedService opened = win32::openService(name.c_str(), access);
  if (opened) return opened;
  const DWORD code = GetLastError();
  if (opened.manager) return serviceError(step, code);
  return Error{ErrorKind::System, step, code, "the service control manager cannot be reached"};
}

Result<SERVICE_STATUS_PROCESS> queryStatus(SC_HANDLE service, const char* step) {
  SERVICE_STATUS_PROCESS status{};
  DWORD needed = 0;
  if (!QueryServiceStatusEx(service, SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&status),
                            sizeof(status), &needed)) {
    const DWORD code = GetLastError();
    return serviceError(step, code);
  }
  return status;
}

bool runsAsReported(const SERVICE_STATUS_PROCESS& status) {
  return status.dwCurrentState == SERVICE_RUNNING && status.dwProcessId != 0;
}

// Nothing, or why the waiting is over.
std::optional<Error> whyOver(const Deadline& deadline, HANDLE interrupt, const char* step,
                             const char* tooLate) {
  if (interrupt != nullptr && WaitForSingleObject(interrupt, 0) == WAIT_OBJECT_0) {
    return Error{ErrorKind::Interrupted, step, 0, "interrupted"};
  }
  if (deadline.passed()) return Error{ErrorKind::Timeout, step, 0, tooLate};
  return std::nullopt;
}

std::uint32_t turn(const Deadline& deadline) {
  return std::min(deadline.remainingMs(), kPollMs);
}

Error endedInsteadOfRunning(const char* step, const SERVICE_STATUS_PROCESS& status,
                            const ProcessWatch& process) {
  Error error{ErrorKind::System, step, status.dwWin32ExitCode,
              "the service ended instead of coming up"};
  if (const auto code = process.exitCode()) {
    error.text += "; its process ended with " + std::to_string(*code);
  }
  return error;
}

// One attempt to bring the service up, over several turns of a waiting loop.
class Start {
 public:
  Start(SC_HANDLE service, const char* step) : service_(service), step_(step) {}

  // Called while the service has no process. Nothing when there is more to wait for.
  std::optional<Error> request(const SERVICE_STATUS_PROCESS& status) {
    // A first process that is gone was the start's own; the manager may not know of its end yet.
    if (requested_) return ended(status);
    if (StartServiceW(service_, 0, nullptr)) {
      requested_ = true;
      return std::nullopt;
    }
    const DWORD code = GetLastError();
    // Somebody else was faster, or the manager has not noticed the end of the process before.
    if (code == ERROR_SERVICE_ALREADY_RUNNING) return std::nullopt;
    return serviceError(step_, code);
  }

 private:
  std::optional<Error> ended(const SERVICE_STATUS_PROCESS& status) const {
    const bool pendingWithoutProcess =
        status.dwProcessId == 0 && status.dwCurrentState == SERVICE_START_PENDING;
    if (pendingWithoutProcess) return std::nullopt;
    return endedInsteadOfRunning(step_, status, ProcessWatch(status.dwProcessId));
  }

  SC_HANDLE service_;
  const char* step_;
  bool requested_ = false;
};

// Sends the stop once, and again while the service is not ready to take it.
class Stop {
 public:
  Stop(SC_HANDLE service, const char* step) : service_(service), step_(step) {}

  std::optional<Error> request() {
    if (taken_) return std::nullopt;
    SERVICE_STATUS answered{};
    if (ControlService(service_, SERVICE_CONTROL_STOP, &answered)) {
      taken_ = true;
      return std::nullopt;
    }
    const DWORD code = GetLastError();
    if (code == ERROR_ACCESS_DENIED || code == ERROR_SERVICE_DOES_NOT_EXIST) {
      return serviceError(step_, code);
    }
    // The process may die inside the request, which is then reported as a broken connection; and a
    // service that is starting or stopping refuses for a moment. The end of the process decides.
    lastRefusal_ = code;
    return std::nullopt;
  }

  // After the deadline: the manager's refusal says more than the time that has passed.
  Error tooLate(Error error) const {
    return taken_ || lastRefusal_ == 0 ? std::move(error) : serviceError(step_, lastRefusal_);
  }

 private:
  SC_HANDLE service_;
  const char* step_;
  bool taken_ = false;
  DWORD lastRefusal_ = 0;
};

Result<ServiceStarted> awaitRunning(SC_HANDLE service, Start* start, const Deadline& deadline,
                                    HANDLE interrupt, const char* step) {
  bool firstLook = true;
  for (;; firstLook = false) {
    auto status = queryStatus(service, step);
    if (!status) return status.error();
    const ProcessWatch process(status.value().dwProcessId);
    const bool alive = !process.hasEnded();
    if (alive && runsAsReported(status.value())) {
      return ServiceStarted{process.processId(), firstLook};
    }
    if (start != nullptr && !alive) {
      if (const auto error = start->request(status.value())) return *error;
    }
    if (const auto over =
            whyOver(deadline, interrupt, step, "the service did not come up in time")) {
      return *over;
    }
    Sleep(turn(deadline));
  }
}

// The service's process, so opened that it is no other one: between two answers that name the same
// id, nobody else can have had it.
Result<ProcessWatch> watchProcess(SC_HANDLE service, const char* step) {
  auto status = queryStatus(service, step);
  for (;;) {
    if (!status) return status.error();
    ProcessWatch process(status.value().dwProcessId);
    status = queryStatus(service, step);
    if (status && status.value().dwProcessId == process.processId()) return process;
  }
}

Result<ServiceStopped> awaitEnd(SC_HANDLE service, Stop* stop, const Deadline& deadline,
                                HANDLE interrupt, const char* step) {
  // The one that runs now: one that somebody starts afterwards is not waited for. Its handle is
  // held before the stop is sent, so that its exit code can be had.
  const auto watched = watchProcess(service, step);
  if (!watched) return watched.error();
  const ProcessWatch& process = watched.value();
  if (process.hasEnded()) return ServiceStopped{};
  for (;;) {
    if (stop != nullptr) {
      if (const auto error = stop->request()) return *error;
    }
    if (process.endedWithin(turn(deadline))) return ServiceStopped{true, process.exitCode()};
    // Without a handle the id may have gone over to another process; the manager knows whose it is.
    if (!process.holdsId()) {
      const auto status = queryStatus(service, step);
      if (!status) return status.error();
      if (status.value().dwProcessId != process.processId()) return ServiceStopped{true, {}};
    }
    if (const auto over = whyOver(deadline, interrupt, step, "the service did not end in time")) {
      const bool late = stop != nullptr && over->kind == ErrorKind::Timeout;
      return late ? stop->tooLate(*over) : *over;
    }
  }
}

}  // namespace

Result<ServiceStarted> startAndWait(const std::wstring& serviceName, const Deadline& deadline,
                                    HANDLE interrupt) {
  constexpr char kStep[] = "start the service";
  auto service = openRegistered(serviceName, SERVICE_START | SERVICE_QUERY_STATUS, kStep);
  if (!service) return service.error();
  Start start(service.value().get(), kStep);
  return awaitRunning(service.value().get(), &start, deadline, interrupt, kStep);
}

Result<ServiceStopped> stopAndWait(const std::wstring& serviceName, const Deadline& deadline,
                                   HANDLE interrupt) {
  constexpr char kStep[] = "stop the service";
  auto service = openRegistered(serviceName, SERVICE_STOP | SERVICE_QUERY_STATUS, kStep);
  if (!service) return service.error();
  Stop stop(service.value().get(), kStep);
  return awaitEnd(service.value().get(), &stop, deadline, interrupt, kStep);
}

Result<ServiceStarted> waitUntilRunning(const std::wstring& serviceName, const Deadline& deadline,
                                        HANDLE interrupt) {
  constexpr char kStep[] = "wait until the service runs";
  auto service = openRegistered(serviceName, SERVICE_QUERY_STATUS, kStep);
  if (!service) return service.error();
  return awaitRunning(service.value().get(), nullptr, deadline, interrupt, kStep);
}

Result<ServiceStopped> waitUntilEnded(const std::wstring& serviceName, const Deadline& deadline,
                                      HANDLE interrupt) {
  constexpr char kStep[] = "wait until the service has ended";
  auto service = openRegistered(serviceName, SERVICE_QUERY_STATUS, kStep);
  if (!service) return service.error();
  return awaitEnd(service.value().get(), nullptr, deadline, interrupt, kStep);
}

}  // namespace orva_accelerator::client
