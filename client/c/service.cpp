// The service's life, and what ends waits.
#include "client/c/boundary.h"
#include "client/c/endpoint.h"
#include "client/request_channel.h"
#include "client/service_control.h"

using namespace orva_accelerator::client;

namespace {

// The whole of a function that does something with the service, which `act` does.
template <typename Act>
orva_code WithService(const char* function, const orva_endpoint* endpoint, uint32_t timeout_ms,
                      orva_error* error, Act act) {
  return Guarded(function, error, {}, [&]() -> Result<Done> {
    auto where = EndpointOf(function, endpoint, RequestChannel::DefaultEndpoint());
    if (!where) return where.error();
    return Deliver(
        act(where.value().serviceName, Deadline::After(TimeoutOf(timeout_ms)), CancelOf(endpoint)),
        [](const auto& /*outcome*/) {});
  });
}

// `set` is SetEvent or ResetEvent.
orva_code Change(const char* function, orva_cancel* cancel, orva_error* error,
                 BOOL(WINAPI* set)(HANDLE)) {
  return Guarded(function, error, {{cancel, "cancel"}}, [&]() -> Result<Done> {
    if (set(cancel->event.get())) return Done{};
    const DWORD code = GetLastError();
    return Error{ErrorKind::System, "change an event", code, "the system refused it"};
  });
}

}  // namespace

orva_code orva_service_start(const orva_endpoint* endpoint, uint32_t timeout_ms,
                             orva_error* error) {
  return WithService(__func__, endpoint, timeout_ms, error, StartAndWait);
}

orva_code orva_service_stop(const orva_endpoint* endpoint, uint32_t timeout_ms, orva_error* error) {
  return WithService(__func__, endpoint, timeout_ms, error, StopAndWait);
}

orva_code orva_service_wait_until_running(const orva_endpoint* endpoint, uint32_t timeout_ms,
                                          orva_error* error) {
  return WithService(__func__, endpoint, timeout_ms, error, WaitUntilRunning);
}

orva_code orva_service_wait_until_ended(const orva_endpoint* endpoint, uint32_t timeout_ms,
                                        orva_error* error) {
  return WithService(__func__, endpoint, timeout_ms, error, WaitUntilEnded);
}

orva_code orva_cancel_create(orva_cancel** cancel, orva_error* error) {
  if (cancel != nullptr) *cancel = nullptr;
  return Guarded(
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
  return Change(__func__, cancel, error, SetEvent);
}

orva_code orva_cancel_reset(orva_cancel* cancel, orva_error* error) {
  return Change(__func__, cancel, error, ResetEvent);
}

void orva_cancel_close(orva_cancel* cancel) {
  delete cancel;
}
