#include "tests/client/c/header_as_c.h"

#include "client/c/orva_client.h"

const size_t kSizesInC[] = {sizeof(orva_error),
                            sizeof(orva_endpoint),
                            sizeof(orva_start_request),
                            sizeof(orva_owner),
                            sizeof(orva_leave_outcome),
                            sizeof(orva_accel_data_numbers),
                            sizeof(orva_console_data),
                            sizeof(orva_last_accel_info_numbers),
                            sizeof(orva_speed_summary),
                            sizeof(orva_game_info_numbers),
                            sizeof(orva_used_node_numbers),
                            sizeof(orva_notification_head),
                            sizeof(orva_accel_result),
                            sizeof(orva_stop_result),
                            0};

const size_t kOffsetsInC[] = {offsetof(orva_endpoint, trust_any_server),
                              offsetof(orva_start_request, text),
                              offsetof(orva_start_request, node_selection_length),
                              offsetof(orva_accel_data_numbers, value8),
                              offsetof(orva_accel_data_numbers, value10),
                              offsetof(orva_game_info_numbers, reserved_long),
                              offsetof(orva_game_info_numbers, reserved_word),
                              offsetof(orva_used_node_numbers, used4),
                              0};
