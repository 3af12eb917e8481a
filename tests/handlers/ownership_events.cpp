#include <gtest/gtest.h>

#include "sdk/completions.h"
#include "tests/handlers/ownership_table.h"
#include "tests/support/import_patch.h"

namespace orva_accelerator::test {
namespace {

using Answer = std::optional<Bytes>;

std::string from(std::uint32_t client) {
  return " from " + std::to_string(client);
}

const char* nameOf(Verdict verdict) {
  return verdict == kAccepted ? ", accepted" : ", refused";
}

sdk::KernelBool byteOf(Verdict verdict) {
  return static_cast<sdk::KernelBool>(verdict);
}

void reportInside(std::uint32_t state) {
  sdk::KernelAccelResult record = {};
  record.state = state;
  sdk::OnAccelResult(nullptr, nullptr, &record);
}

}  // namespace

Event start(std::uint32_t client, Verdict verdict) {
  return {"1280" + from(client) + nameOf(verdict), [=](AccelerationBench& bench) {
            bench.kernel.Kernel_StartAccel = [=](auto...) { return byteOf(verdict); };
            return bench.ask(client, ipc::MsgStartAccel);
          }};
}

Event startEx(std::uint32_t client, Verdict verdict) {
  return {"1281" + from(client) + nameOf(verdict), [=](AccelerationBench& bench) {
            bench.kernel.Kernel_StartAccelEx = [=](auto...) { return byteOf(verdict); };
            return bench.ask(client, ipc::MsgStartAccelEx);
          }};
}

Event startExAfterRefusedStop(std::uint32_t client) {
  return {"1281" + from(client) + " after a refused stop", [=](AccelerationBench& bench) {
            bench.kernel.Kernel_StopAccel = [](auto...) { return sdk::KernelBool{0}; };
            return bench.ask(client, ipc::MsgStartAccelEx);
          }};
}

Event startReporting(std::uint32_t client, std::uint32_t state, Verdict verdict) {
  return {"1280" + from(client) + " reporting " + std::to_string(state) + nameOf(verdict),
          [=](AccelerationBench& bench) {
            bench.kernel.Kernel_StartAccel = [=](auto...) {
              reportInside(state);
              return byteOf(verdict);
            };
            return bench.ask(client, ipc::MsgStartAccel);
          }};
}

Event startExReporting(std::uint32_t client, std::uint32_t state, Verdict verdict) {
  return {"1281" + from(client) + " reporting " + std::to_string(state) + nameOf(verdict),
          [=](AccelerationBench& bench) {
            bench.kernel.Kernel_StartAccelEx = [=](auto...) {
              reportInside(state);
              return byteOf(verdict);
            };
            return bench.ask(client, ipc::MsgStartAccelEx);
          }};
}

Event result(std::uint32_t state) {
  return {"result with state " + std::to_string(state), [=](AccelerationBench& bench) -> Answer {
            bench.reportState(state);
            return std::nullopt;
          }};
}

Event stop(std::uint32_t client) {
  return {"1282" + from(client) + ", not completed",
          [=](AccelerationBench& bench) { return bench.ask(client, ipc::MsgStopAccel); }};
}

Event stopCompleting(std::uint32_t client, int code) {
  return {"1282" + from(client) + ", code " + std::to_string(code), [=](AccelerationBench& bench) {
            Answer answer = bench.ask(client, ipc::MsgStopAccel);
            bench.reportStop(code);
            return answer;
          }};
}

Event stopCompletingInside(std::uint32_t client, int code) {
  return {"1282" + from(client) + ", code " + std::to_string(code) + " inside the call",
          [=](AccelerationBench& bench) {
            bench.kernel.Kernel_StopAccel = [=](void*, sdk::KernelCodeCompletion completion) {
              completion(nullptr, code, nullptr);
              return sdk::KernelBool{1};
            };
            return bench.ask(client, ipc::MsgStopAccel);
          }};
}

Event stopRefused(std::uint32_t client) {
  return {"1282" + from(client) + ", refused", [=](AccelerationBench& bench) {
            bench.kernel.Kernel_StopAccel = [](auto...) { return sdk::KernelBool{0}; };
            return bench.ask(client, ipc::MsgStopAccel);
          }};
}

Event stopCompletingAfterAStart(std::uint32_t client, std::uint32_t starting) {
  return {"1282" + from(client) + ", completed after a start" + from(starting),
          [=](AccelerationBench& bench) {
            Answer answer = bench.ask(client, ipc::MsgStopAccel);
            (void)bench.ask(starting, ipc::MsgStartAccel);  // Refused where one is pending.
            bench.reportStop(0);
            return answer;
          }};
}

Event startExStopCompleting(std::uint32_t client, int code) {
  return {"1281" + from(client) + ", its stop with code " + std::to_string(code),
          [=](AccelerationBench& bench) {
            Answer answer = bench.ask(client, ipc::MsgStartAccelEx);
            bench.reportStop(code);
            return answer;
          }};
}

Event leave(std::uint32_t client) {
  return {"1792" + from(client),
          [=](AccelerationBench& bench) { return bench.ask(client, ipc::MsgClientLeaving); }};
}

Event leaveStopRefused(std::uint32_t client) {
  return {"1792" + from(client) + ", its stop refused", [=](AccelerationBench& bench) {
            bench.kernel.Kernel_StopAccel = [](auto...) { return sdk::KernelBool{0}; };
            return bench.ask(client, ipc::MsgClientLeaving);
          }};
}

Event leaveStopCompleting(std::uint32_t client, int code) {
  return {"1792" + from(client) + ", its stop with code " + std::to_string(code),
          [=](AccelerationBench& bench) {
            Answer answer = bench.ask(client, ipc::MsgClientLeaving);
            bench.reportStop(code);
            return answer;
          }};
}

Event leaveAsLast(std::uint32_t client) {
  return {"1792" + from(client) + ", the last", [=](AccelerationBench& bench) {
            bench.unregisterAllBut(client);
            return bench.ask(client, ipc::MsgClientLeaving);
          }};
}

Event supervisorFindsNobody() {
  return {"supervisor finds nobody", [](AccelerationBench& bench) -> Answer {
            ImportHook<decltype(Sleep)> sleep("kernel32.dll", "Sleep");
            sleep.replace([](DWORD) {});
            ImportHook<BOOL(HANDLE, ULONG*)> processId("kernel32.dll",
                                                       "GetNamedPipeClientProcessId");
            processId.failAllCalls(ERROR_PIPE_NOT_CONNECTED, FALSE);
            bench.server.inspect().runSupervisorLoop();
            return std::nullopt;
          }};
}

}  // namespace orva_accelerator::test
