// The requests.
#include <utility>

#include "client/c/boundary.h"
#include "client/c/connection.h"
#include "client/node_selection.h"

namespace ipc = orva_accelerator::ipc;
using namespace orva_accelerator::client;

namespace {

// The whole of a function whose answer is a record.
template <typename Record, typename Ask>
orva_code askForRecord(const char* function, orva_client* client, Record** record,
                       orva_error* error, std::initializer_list<Argument> needed, Ask ask) {
  return giveRecord(function, error, record, needed, [&] { return client->ask(ask); });
}

// The same for a question without texts.
template <ipc::MessageType Type, typename Record>
orva_code query(const char* function, orva_client* client, Record** record, orva_error* error,
                const typename ipc::MessageOf<Type>::Request& request = {}) {
  return askForRecord(function, client, record, error, {{client, "client"}},
                      [&](ServiceClient& service) { return service.query<Type>(request); });
}

// The whole of a function whose answer is one number or flag.
template <typename Number, typename Ask>
orva_code askForNumber(const char* function, orva_client* client, Number* number, orva_error* error,
                       std::initializer_list<Argument> needed, Ask ask) {
  if (number == nullptr) return guarded(function, error, {{number, "the result"}}, nothing);
  return guarded(function, error, needed, [&] {
    return deliver(client->ask(ask), [number](auto value) { *number = value; });
  });
}

Result<StartRequest> startOf(const char* function, const orva_start_request& request) {
  if (request.size != sizeof(orva_start_request)) {
    return misuse(function, "the size of the request is not set");
  }
  const auto missing = checkArguments(
      function,
      {textArgument(request.text, request.text_length, "text"),
       textArgument(request.node_selection, request.node_selection_length, "node_selection")});
  if (missing) return *missing;
  StartRequest start;
  start.startArg1 = request.arg1;
  start.startArg2 = request.arg2;
  start.startArg3 = request.arg3;
  start.startText = textOf(request.text, request.text_length);
  start.nodeSelection = textOf(request.node_selection, request.node_selection_length);
  if (!isSafeNodeSelection(start.nodeSelection)) {
    return misuse(function, "node_selection has something in it that is no number of 32 bits");
  }
  return start;
}

// The whole of a function that starts an acceleration; `ask` sends the request that it makes.
template <typename Ask>
orva_code askToStart(const char* function, orva_client* client, const orva_start_request* request,
                     int32_t* accepted, orva_error* error, Ask ask) {
  return askForNumber(function, client, accepted, error, {{client, "client"}, {request, "request"}},
                      [&](ServiceClient& service) -> Result<bool> {
                        auto start = startOf(function, *request);
                        if (!start) return start.error();
                        return ask(service, std::move(start.value()));
                      });
}

}  // namespace

orva_code orva_client_init(orva_client* client, uint32_t channel_id, uint32_t channel_number,
                           const char* channel_name, size_t channel_name_length, int32_t* result,
                           orva_error* error) {
  return askForNumber(
      __func__, client, result, error,
      {{client, "client"}, textArgument(channel_name, channel_name_length, "channel_name")},
      [&](ServiceClient& service) {
        return service.Init(
            {channel_id, channel_number, textOf(channel_name, channel_name_length)});
      });
}

orva_code orva_client_is_initialised(orva_client* client, int32_t* initialised, orva_error* error) {
  return askForNumber(__func__, client, initialised, error, {{client, "client"}},
                      [](ServiceClient& service) { return service.IsInitialised(); });
}

orva_code orva_client_login(orva_client* client, const char* account, size_t account_length,
                            const char* credential, size_t credential_length, orva_error* error) {
  return guarded(
      __func__, error,
      {{client, "client"},
       textArgument(account, account_length, "account"),
       textArgument(credential, credential_length, "credential")},
      [&] {
        return client->ask([&](ServiceClient& service) {
          return service.login({{account, account_length}, {credential, credential_length}});
        });
      });
}

orva_code orva_client_release(orva_client* client, orva_error* error) {
  return guarded(__func__, error, {{client, "client"}}, [&] {
    return client->ask([](ServiceClient& service) { return service.Release(); });
  });
}

orva_code orva_client_start(orva_client* client, const orva_start_request* request,
                            int32_t* accepted, orva_error* error) {
  return askToStart(
      __func__, client, request, accepted, error,
      [](ServiceClient& service, const StartRequest& start) { return service.start(start); });
}

orva_code orva_client_start_ex(orva_client* client, const orva_start_request* request,
                               uint32_t arg4, int32_t* accepted, orva_error* error) {
  return askToStart(__func__, client, request, accepted, error,
                    [arg4](ServiceClient& service, StartRequest start) {
                      return service.startEx({std::move(start), arg4});
                    });
}

orva_code orva_client_stop(orva_client* client, orva_error* error) {
  return guarded(__func__, error, {{client, "client"}}, [&] {
    return client->ask([](ServiceClient& service) { return service.stop(); });
  });
}

orva_code orva_client_query_owner(orva_client* client, orva_owner** owner, orva_error* error) {
  return query<ipc::MsgQueryAccelOwner>(__func__, client, owner, error);
}

orva_code orva_client_heartbeat(orva_client* client, uint32_t* clock_ms, orva_error* error) {
  return askForNumber(__func__, client, clock_ms, error, {{client, "client"}},
                      [](ServiceClient& service) { return service.heartbeat(); });
}

orva_code orva_client_leave(orva_client* client, orva_leave_outcome** outcome, orva_error* error) {
  return query<ipc::MsgClientLeaving>(__func__, client, outcome, error);
}

orva_code orva_client_get_accel_data(orva_client* client, orva_accel_data** data,
                                     orva_error* error) {
  return query<ipc::MsgGetAccelData>(__func__, client, data, error);
}

orva_code orva_client_get_console_data(orva_client* client, orva_console_data** data,
                                       orva_error* error) {
  return query<ipc::MsgGetConsoleData>(__func__, client, data, error);
}

orva_code orva_client_get_last_accel_info(orva_client* client, uint32_t game_id,
                                          orva_last_accel_info** info, orva_error* error) {
  return query<ipc::MsgGetGameLastAccelInfo>(__func__, client, info, error, {game_id});
}

orva_code orva_client_get_speed_summary(orva_client* client, uint32_t game_id, uint32_t area_id,
                                        const char* server_key, size_t server_key_length,
                                        uint32_t test_option, orva_speed_summary** summary,
                                        orva_error* error) {
  return askForRecord(
      __func__, client, summary, error,
      {{client, "client"}, textArgument(server_key, server_key_length, "server_key")},
      [&](ServiceClient& service) {
        return service.getSpeedSummary(
            {game_id, area_id, textOf(server_key, server_key_length), test_option});
      });
}

orva_code orva_client_get_game_info(orva_client* client, uint32_t game_id, orva_game_info** info,
                                    orva_error* error) {
  return query<ipc::MsgGetGameAccelInfo>(__func__, client, info, error, {game_id});
}

orva_code orva_client_get_used_nodes(orva_client* client, uint32_t game_id, orva_used_nodes** nodes,
                                     orva_error* error) {
  return query<ipc::MsgGetGameUsedNodeList>(__func__, client, nodes, error, {game_id});
}

orva_code orva_client_request(orva_client* client, uint32_t type, const void* payload,
                              size_t payload_length, orva_bytes** answer, orva_error* error) {
  return askForRecord(__func__, client, answer, error,
                      {{client, "client"}, textArgument(payload, payload_length, "payload")},
                      [&](ServiceClient& service) -> Result<Answer<orva_bytes>> {
                        const ByteView bytes(static_cast<const std::uint8_t*>(payload),
                                             payload_length);
                        const auto given = service.ask(type, bytes);
                        if (!given) return given.error();
                        AnswerBlock block(sizeof(orva_bytes), 1, given.value().size());
                        auto* const record = block.make<orva_bytes>();
                        const orva_text copy = block.text(given.value());
                        *record = {reinterpret_cast<const std::uint8_t*>(copy.bytes), copy.length};
                        return block.Release(record);
                      });
}
