// What the service answers and announces, as C and C++ programs get it: flat records.
//
// Fields have the names of the protocol, see docs/protocol.md; what the numbered ones mean is the
// acceleration library's business. A record, its texts and whatever else it points to are one block
// of memory, which orva_free releases. A later version of the library may add fields at the end of
// a record, so take them as they are handed out: neither copy them by their size nor make arrays.
#ifndef ORVA_ANSWERS_H_
#define ORVA_ANSWERS_H_

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#include <string_view>

extern "C" {
#endif

// UTF-8 from a service that keeps to the protocol; the bytes are as they came and may be anything.
typedef struct orva_text {
  const char* bytes;  // Never NULL. A zero byte follows that `length` does not count.
  size_t length;      // In bytes.
#ifdef __cplusplus
  operator std::string_view() const { return std::string_view(bytes, length); }
#endif
} orva_text;

// ---- Answers. Flags are 0 or 1. Where there is a `status`, 0 means that the acceleration library
// knows nothing of what was asked; everything else is then 0 or empty.

typedef struct orva_owner {
  int32_t any_acceleration;  // One runs or is being started.
  int32_t owned_by_caller;
} orva_owner;

typedef struct orva_leave_outcome {
  int32_t last_client;  // The service ends itself after this answer.
  uint32_t remaining_clients;
} orva_leave_outcome;

// All zeros and no text when the library is not initialised or gave nothing.
typedef struct orva_accel_data {
  uint32_t value1;
  uint32_t value2;
  uint32_t value3;
  orva_text text3;
  uint32_t value4;
  uint32_t value5;
  uint32_t value6;
  uint64_t value8;
  uint32_t value9;
  uint32_t value10;
} orva_accel_data;

typedef struct orva_console_data {
  uint32_t status;  // 1 in any case.
  uint32_t console1;
  uint32_t console2;
  uint32_t console3;
  uint32_t console4;
  uint32_t console5;
  int32_t console_flag;
} orva_console_data;

typedef struct orva_last_accel_info {
  uint32_t status;
  uint32_t area_id;
  uint32_t node_id;
  int32_t info_flag;
  uint32_t info_value;
  orva_text info_text;
  orva_text server_key;
} orva_last_accel_info;

typedef struct orva_speed_summary {
  uint32_t status;
  uint32_t summary[14];  // summary1 to summary14.
} orva_speed_summary;

typedef struct orva_game_info {
  uint32_t status;
  uint32_t game_id;
  orva_text game_text;
  uint32_t area_id;
  orva_text server_key;
  orva_text server_text;
  uint32_t node_id;
  orva_text node_text;
  uint32_t node_value1;
  uint32_t node_value2;
  int32_t info_flag;
  uint32_t info_value;
  orva_text info_text;
  uint32_t reserved_word;
  uint64_t reserved_long;
} orva_game_info;

// An array of these has the layout of this version for good.
typedef struct orva_used_node {
  uint32_t used1;
  uint32_t used2;
  orva_text used_text1;
  uint32_t used3;
  orva_text used_text2;
  uint64_t used4;
} orva_used_node;

typedef struct orva_used_nodes {
  uint32_t status;  // 1 in any case.
  size_t count;
  const orva_used_node* nodes;
} orva_used_nodes;

// The payload of an answer to a raw request, as it came.
typedef struct orva_bytes {
  const uint8_t* bytes;  // Never NULL.
  size_t length;
} orva_bytes;

// ---- Notifications

typedef struct orva_accel_result {
  uint32_t value1;
  uint32_t value2;
  orva_text text1;
  uint32_t value3;
  uint32_t state;  // 4: accelerating; 5, 6, 7: ended or failed; all others: progress.
  uint32_t value4;
  uint32_t value5;
  orva_text text2;
  int32_t accelerating;  // The state is 4.
  int32_t ended;         // The state is 5, 6 or 7.
  // A text of 65,536 bytes or more came whole, but its length field wrapped. How much of the
  // surplus belongs to which text cannot be told then: all of it is in text1.
  int32_t text_lengths_wrapped;
} orva_accel_result;

typedef struct orva_stop_result {
  int32_t success;
  int32_t code;  // The acceleration library's.
  orva_text text;
} orva_stop_result;

typedef struct orva_login_result {
  int32_t success;  // The code is 0.
  int32_t code;     // The acceleration library's.
  orva_text text;
} orva_login_result;

enum {
  ORVA_NOTIFY_START = 0x1000,
  ORVA_NOTIFY_START_EX = 0x1001,
  ORVA_NOTIFY_STOP = 0x1002,
  ORVA_NOTIFY_LOGIN = 0x1003
};

typedef struct orva_notification {
  uint32_t client_id;  // Whose request is answered; every client gets every notification.
  uint32_t type;       // One of the numbers above, or one that this library does not know.
  uint32_t timestamp;  // 100 ns ticks, wraps about every 429 s: for ordering only.
  // By the type, exactly one of the four pointers is not NULL.
  const orva_accel_result* accel;  // START and START_EX.
  const orva_stop_result* stop;    // STOP.
  const orva_login_result* login;  // LOGIN.
  const uint8_t* payload;          // Of every other type, as it came.
  size_t payload_length;
} orva_notification;

#ifdef __cplusplus
}  // extern "C"
#endif

#endif  // ORVA_ANSWERS_H_
