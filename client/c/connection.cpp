#include "client/c/connection.h"

#include "client/c/boundary.h"
#include "client/c/endpoint.h"

using namespace orva_accelerator::client;

orva_code orva_client_connect(const orva_endpoint* endpoint, uint32_t client_id,
                              uint32_t connect_timeout_ms, uint32_t request_timeout_ms,
                              orva_client** client, orva_error* error) {
  if (client != nullptr) *client = nullptr;
  const char* const function = __func__;
  return guarded(function, error, {{client, "client"}}, [&]() -> Result<Done> {
    if (client_id == 0) return misuse(function, "0 is no client id");
    auto where = endpointOf(function, endpoint, RequestChannel::defaultEndpoint());
    if (!where) return where.error();
    auto channel = RequestChannel::open(
        where.value(), Deadline::after(timeoutOf(connect_timeout_ms)), cancelOf(endpoint));
    if (!channel) return channel.error();
    *client = new orva_client(
        ServiceClient(std::move(channel.value()), client_id, timeoutOf(request_timeout_ms)));
    return Done{};
  });
}

void orva_client_close(orva_client* client) {
  delete client;
}

uint32_t orva_client_get_id(const orva_client* client) {
  return client == nullptr ? 0 : client->id;
}

int32_t orva_client_is_usable(const orva_client* client) {
  return client != nullptr && client->service && client->service->usable() ? 1 : 0;
}

orva_code orva_client_set_timeout(orva_client* client, uint32_t request_timeout_ms,
                                  orva_error* error) {
  return guarded(__func__, error, {{client, "client"}}, [&]() -> Result<Done> {
    if (client->service) client->service->setTimeout(timeoutOf(request_timeout_ms));
    return Done{};
  });
}
