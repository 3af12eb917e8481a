// The service's life, and what ends waits.
#include "client/c/boundary.h"
#include "client/c/endpoint.h"
#include "client/request_channel.h"
#include "client/service_control.h"

using namespace orva_accelerator::client;

namespace {

// The whole of a function that does something with the service, which `act` does.
template <typename Act>
orva_code withService(const char* function, const orva_endpoint* endpoint, uint32_t timeout_ms,
                      orva_error* error, Act act) {
  return guarded(function, error, {}, [&]() -> Result<Done> {
    auto where = endpointOf(function, endpoint, RequestChannel::defaultEndpoint());
    if (!where) return where.error();
    return deliver(
        act(where.value().serviceName, Deadline::after(timeoutOf(timeout_ms)), cancelOf(endpoint)),
        [](const auto& /*outcome*/) {});
  });
}

// `set` is SetEvent or ResetEvent.
orva_code change(const char* function, orva_cancel* cancel, orva_error* error,
                 BOOL(WINAPI* set)(HANDLE)) {
  return guarded(function, error, {{cancel, "cancel"}}, [&]() -> Result<Done> {
    if (set(cancel->event.get())) return Done{};
    const DWORD code = GetLastError();
    return Error{ErrorKind::System, "change an event", code, "the system refused it"};
  });
}

}  // namespace

orva_code orva_service_start(const orva_endpoint* endpoint, uint32_t timeout_ms,
                             orva_error* error) {
  return withService(__func__, endpoint, timeout_ms, error, startAndWait);
}

orva_code orva_service_stop(const orva_endpoint* endpoint, uint32_t timeout_ms, orva_error* error) {
  return withService(__func__, endpoint, timeout_ms, error, stopAndWait);
}

orva_code orva_service_wait_until_running(const orva_endpoint* endpoint, uint32_t timeout_ms,
                                          orva_error* error) {
  return withService(__func__, endpoint, timeout_ms, error, waitUntilRunning);
}

orva_code orva_service_wait_until_ended(const orva_endpoint* endpoint, uint32_t timeout_ms,
                                        orva_error* error) {
  return withService(__func__, endpoint, timeout_ms, error, waitUntilEnded);
}

orva_code orva_cancel_create(orva_cancel** cancel, orva_error* error) {
  if (cancel != nullptr) *cancel = nullptr;
  return guarded(
      __func__, error, {{static_cast<const void*>(cancel), "cancel"}}, [&]() -> Result<Done> {
        orva_accelerator::win32::UniqueKernelHandle event(
            CreateEventW(nullptr, TRUE, FALSE, nullptr));
        if (!event) {
          const DWORD code = GetLastError();
          return Error{ErrorKind::System, "create an event", code, "the system refused it"};
        }
        *cancel = new orva_cancel{std::move(event)};
        return Done{};
      });
}

orva_code orva_cancel_set(orva_cancel* cancel, orva_error* error) {
  return change(__func__, cancel, error, SetEvent);
}

orva_code orva_cancel_reset(orva_cancel* cancel, orva_error* error) {
  return change(__func__, cancel, error, ResetEvent);
}

void orva_cancel_close(orva_cancel* cancel) {
  delete cancel;
}
