// The requests that change something, and those about who has changed it.
#include <utility>

#include "client/c/boundary.h"
#include "client/c/connection.h"
#include "client/node_selection.h"

using namespace orva_accelerator::client;

namespace {

// Hands a flag on as the number that C programs get.
Result<Done> DeliverFlag(Result<bool> flag, int32_t* out) {
  return Deliver(std::move(flag), [out](bool value) { *out = value ? 1 : 0; });
}

Result<StartRequest> StartOf(const char* function, const orva_start_request& request) {
  const auto misuse = CheckArguments(
      function,
      {TextArgument(request.text, request.text_length, "text"),
       TextArgument(request.node_selection, request.node_selection_length, "node_selection")});
  if (misuse) return *misuse;
  StartRequest start;
  start.startArg1 = request.arg1;
  start.startArg2 = request.arg2;
  start.startArg3 = request.arg3;
  start.startText = TextOf(request.text, request.text_length);
  start.nodeSelection = TextOf(request.node_selection, request.node_selection_length);
  if (!IsSafeNodeSelection(start.nodeSelection)) {
    return Misuse(function, "node_selection has something in it that is no number of 32 bits");
  }
  return start;
}

// The whole of a function that starts an acceleration; `ask` sends the request that it makes.
template <typename Ask>
orva_code AskToStart(const char* function, orva_client* client, const orva_start_request* request,
                     int32_t* accepted, orva_error* error, Ask ask) {
  return Guarded(function, error,
                 {{client, "client"}, {request, "request"}, {accepted, "accepted"}},
                 [&]() -> Result<Done> {
                   auto start = StartOf(function, *request);
                   if (!start) return start.error();
                   auto answer = client->Ask([&](ServiceClient& service) {
                     return ask(service, std::move(start.value()));
                   });
                   return DeliverFlag(std::move(answer), accepted);
                 });
}

}  // namespace

orva_code orva_client_init(orva_client* client, uint32_t channel_id, uint32_t channel_number,
                           const char* channel_name, size_t channel_name_length, int32_t* result,
                           orva_error* error) {
  return Guarded(__func__, error,
                 {{client, "client"},
                  TextArgument(channel_name, channel_name_length, "channel_name"),
                  {result, "result"}},
                 [&] {
                   const InitRequest request{channel_id, channel_number,
                                             TextOf(channel_name, channel_name_length)};
                   return Deliver(
                       client->Ask([&](ServiceClient& service) { return service.Init(request); }),
                       [&](std::int32_t value) { *result = value; });
                 });
}

orva_code orva_client_is_initialised(orva_client* client, int32_t* initialised, orva_error* error) {
  return Guarded(__func__, error, {{client, "client"}, {initialised, "initialised"}}, [&] {
    return DeliverFlag(client->Ask([](ServiceClient& service) { return service.IsInitialised(); }),
                       initialised);
  });
}

orva_code orva_client_login(orva_client* client, const char* account, size_t account_length,
                            const char* credential, size_t credential_length, orva_error* error) {
  return Guarded(
      __func__, error,
      {{client, "client"},
       TextArgument(account, account_length, "account"),
       TextArgument(credential, credential_length, "credential")},
      [&] {
        const LoginRequest request{TextOf(account, account_length),
                                   TextOf(credential, credential_length)};
        return client->Ask([&](ServiceClient& service) { return service.Login(request); });
      });
}

orva_code orva_client_release(orva_client* client, orva_error* error) {
  return Guarded(__func__, error, {{client, "client"}}, [&] {
    return client->Ask([](ServiceClient& service) { return service.Release(); });
  });
}

orva_code orva_client_start(orva_client* client, const orva_start_request* request,
                            int32_t* accepted, orva_error* error) {
  return AskToStart(
      __func__, client, request, accepted, error,
      [](ServiceClient& service, const StartRequest& start) { return service.Start(start); });
}

orva_code orva_client_start_ex(orva_client* client, const orva_start_request* request,
                               uint32_t arg4, int32_t* accepted, orva_error* error) {
  return AskToStart(__func__, client, request, accepted, error,
                    [arg4](ServiceClient& service, StartRequest start) {
                      return service.StartEx(StartExRequest{std::move(start), arg4});
                    });
}

orva_code orva_client_stop(orva_client* client, orva_error* error) {
  return Guarded(__func__, error, {{client, "client"}}, [&] {
    return client->Ask([](ServiceClient& service) { return service.Stop(); });
  });
}

orva_code orva_client_query_owner(orva_client* client, orva_owner* owner, orva_error* error) {
  return Guarded(__func__, error, {{client, "client"}, {owner, "owner"}}, [&] {
    return Deliver(client->Ask([](ServiceClient& service) { return service.QueryOwner(); }),
                   [&](const AccelOwner& value) {
                     owner->any_acceleration = value.anyAcceleration ? 1 : 0;
                     owner->owned_by_caller = value.ownedByCaller ? 1 : 0;
                   });
  });
}

orva_code orva_client_heartbeat(orva_client* client, uint32_t* clock_ms, orva_error* error) {
  return Guarded(__func__, error, {{client, "client"}, {clock_ms, "clock_ms"}}, [&] {
    return Deliver(client->Ask([](ServiceClient& service) { return service.Heartbeat(); }),
                   [&](std::uint32_t value) { *clock_ms = value; });
  });
}

orva_code orva_client_leave(orva_client* client, orva_leave_outcome* outcome, orva_error* error) {
  return Guarded(__func__, error, {{client, "client"}, {outcome, "outcome"}}, [&] {
    return Deliver(client->Ask([](ServiceClient& service) { return service.Leave(); }),
                   [&](const LeaveOutcome& value) {
                     outcome->last_client = value.lastClient ? 1 : 0;
                     outcome->remaining_clients = value.remainingClients;
                   });
  });
}
