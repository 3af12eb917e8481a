// The requests that only ask, and the raw one.
#include <algorithm>
#include <iterator>

#include "client/c/boundary.h"
#include "client/c/connection.h"
#include "client/c/query_results.h"

using namespace orva_accelerator::client;

orva_code orva_client_get_accel_data(orva_client* client, orva_accel_data** data,
                                     orva_error* error) {
  if (data != nullptr) *data = nullptr;
  return Guarded(__func__, error, {{client, "client"}, {data, "data"}}, [&] {
    return DeliverObject(client->Ask([](ServiceClient& service) { return service.GetAccelData(); }),
                         data);
  });
}

orva_code orva_client_get_console_data(orva_client* client, orva_console_data* data,
                                       orva_error* error) {
  return Guarded(__func__, error, {{client, "client"}, {data, "data"}}, [&] {
    return Deliver(client->Ask([](ServiceClient& service) { return service.GetConsoleData(); }),
                   [&](const ConsoleData& value) {
                     *data = orva_console_data{
                         value.status,   value.console1, value.console2,           value.console3,
                         value.console4, value.console5, value.consoleFlag ? 1 : 0};
                   });
  });
}

orva_code orva_client_get_last_accel_info(orva_client* client, uint32_t game_id,
                                          orva_last_accel_info** info, orva_error* error) {
  if (info != nullptr) *info = nullptr;
  return Guarded(__func__, error, {{client, "client"}, {info, "info"}}, [&] {
    return DeliverObject(
        client->Ask([&](ServiceClient& service) { return service.GetLastAccelInfo(game_id); }),
        info);
  });
}

orva_code orva_client_get_speed_summary(orva_client* client, uint32_t game_id, uint32_t area_id,
                                        const char* server_key, size_t server_key_length,
                                        uint32_t test_option, orva_speed_summary* summary,
                                        orva_error* error) {
  return Guarded(
      __func__, error,
      {{client, "client"},
       TextArgument(server_key, server_key_length, "server_key"),
       {summary, "summary"}},
      [&] {
        const SpeedRequest request{game_id, area_id, TextOf(server_key, server_key_length),
                                   test_option};
        return Deliver(
            client->Ask([&](ServiceClient& service) { return service.GetSpeedSummary(request); }),
            [&](const SpeedSummary& value) {
              static_assert(sizeof(summary->summary) == sizeof(value.summary));
              summary->status = value.status;
              std::copy(value.summary.begin(), value.summary.end(), summary->summary);
            });
      });
}

orva_code orva_client_get_game_info(orva_client* client, uint32_t game_id, orva_game_info** info,
                                    orva_error* error) {
  if (info != nullptr) *info = nullptr;
  return Guarded(__func__, error, {{client, "client"}, {info, "info"}}, [&] {
    return DeliverObject(
        client->Ask([&](ServiceClient& service) { return service.GetGameInfo(game_id); }), info);
  });
}

orva_code orva_client_get_used_nodes(orva_client* client, uint32_t game_id, orva_used_nodes** nodes,
                                     orva_error* error) {
  if (nodes != nullptr) *nodes = nullptr;
  return Guarded(__func__, error, {{client, "client"}, {nodes, "nodes"}}, [&] {
    return DeliverObject(
        client->Ask([&](ServiceClient& service) { return service.GetUsedNodes(game_id); }), nodes);
  });
}

orva_code orva_client_request(orva_client* client, uint32_t type, const void* payload,
                              size_t payload_length, orva_answer** answer, orva_error* error) {
  if (answer != nullptr) *answer = nullptr;
  return Guarded(
      __func__, error,
      {{client, "client"}, TextArgument(payload, payload_length, "payload"), {answer, "answer"}},
      [&] {
        const ByteView bytes(static_cast<const std::uint8_t*>(payload), payload_length);
        return DeliverObject(
            client->Ask([&](ServiceClient& service) { return service.Ask(type, bytes); }), answer);
      });
}
