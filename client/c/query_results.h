// The results of variable size, as the C interface hands them out.
#pragma once

#include "client/bytes.h"
#include "client/c/orva_client.h"
#include "client/responses.h"

struct orva_accel_data {
  orva_accelerator::client::AccelData value;
};

struct orva_last_accel_info {
  orva_accelerator::client::LastAccelInfo value;
};

struct orva_game_info {
  orva_accelerator::client::GameInfo value;
};

struct orva_used_nodes {
  orva_accelerator::client::UsedNodeList value;
};

struct orva_answer {
  orva_accelerator::client::Bytes value;
};
