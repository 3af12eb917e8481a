// Hearing what became of one's own requests.
#include "client/outcome.h"

#include <memory>
#include <optional>
#include <utility>

#include "client/c/boundary.h"
#include "client/c/connection.h"
#include "client/c/endpoint.h"

using namespace orva_accelerator::client;

namespace {

std::optional<Awaited> awaitedBy(uint32_t type) {
  switch (type) {
    case ORVA_NOTIFY_LOGIN:
      return Awaited::Login;
    case ORVA_NOTIFY_START:
    case ORVA_NOTIFY_START_EX:
      return Awaited::Start;
    case ORVA_NOTIFY_STOP:
      return Awaited::Stop;
    default:
      return std::nullopt;
  }
}

Result<Done> connect(const char* function, const orva_endpoint* endpoint, uint32_t client_id,
                     uint32_t connect_timeout_ms, uint32_t request_timeout_ms, orva_client** client,
                     orva_push** push) {
  if (client_id == 0) return misuse(function, "0 is no client id");
  auto request = endpointOf(function, endpoint, RequestChannel::defaultEndpoint());
  if (!request) return request.error();
  auto listen = pushEndpointOf(function, endpoint);
  if (!listen) return listen.error();
  const HANDLE cancel = cancelOf(endpoint);
  auto listening = connectListening(request.value(), listen.value(), client_id,
                                    Deadline::after(timeoutOf(connect_timeout_ms)),
                                    timeoutOf(request_timeout_ms), cancel);
  if (!listening) return listening.error();
  auto opened = std::make_unique<orva_client>(std::move(listening.value().service));
  *push = new orva_push(std::move(listening.value().push), cancel);
  *client = opened.release();
  return Done{};
}

}  // namespace

orva_code orva_connect_listening(const orva_endpoint* endpoint, uint32_t client_id,
                                 uint32_t connect_timeout_ms, uint32_t request_timeout_ms,
                                 orva_client** client, orva_push** push, orva_error* error) {
  if (client != nullptr) *client = nullptr;
  if (push != nullptr) *push = nullptr;
  const char* const function = __func__;
  return guarded(function, error, {{client, "client"}, {push, "push"}}, [&] {
    return connect(function, endpoint, client_id, connect_timeout_ms, request_timeout_ms, client,
                   push);
  });
}

orva_code orva_push_await(orva_push* push, uint32_t type, uint32_t timeout_ms,
                          orva_progress progress, void* context, orva_notification** outcome,
                          orva_error* error) {
  const char* const function = __func__;
  return giveRecord(function, error, outcome, {{push, "push"}}, [&]() -> Result<Notification> {
    const auto awaited = awaitedBy(type);
    if (!awaited) return misuse(function, "nothing of this type settles anything");
    const auto deadline = Deadline::after(timeoutOf(timeout_ms));
    Progress report;
    if (progress != nullptr) {
      report = [&](const orva_notification& notification) { progress(context, &notification); };
    }
    return push->listen([&](PushChannel& channel) {
      return awaitOutcome(channel, *awaited, deadline, push->interrupt, report);
    });
  });
}
