// The client library of Orva Accelerator Service for C, and for every language that can call C.
//
// 64-bit Windows 10 or later. Link with OrvaClient.lib (Microsoft's linker) or libOrvaClient.dll.a
// (MinGW-w64) and put OrvaClient.dll beside the program; it needs nothing but Windows. What the
// requests and fields mean is told in docs/protocol.md, a session is shown in docs/c-interface.md.
//
// These rules hold for every function that does not say otherwise:
//
// Results    A function that can fail returns an orva_code. Output parameters are written when it
//            is ORVA_OK; otherwise object outputs are set to NULL and all others are left alone. No
//            exception comes out of any function.
// Errors     `error` may be NULL; otherwise it is filled in each time, with ORVA_OK as well.
// Texts      UTF-8, as a pointer and a length in bytes. On the way in no terminator is needed and
//            none is counted; NULL is allowed with length 0. On the way out a zero byte that is not
//            counted follows; the bytes themselves are the service's and may be anything.
// Flags      int32_t, 0 or 1.
// Timeouts   Milliseconds for the whole call. 0 tries once and waits for nothing. Everything from
//            0x7FFFFFFF on, some 24 days, counts as 0x7FFFFFFF.
// Ownership  An object belongs to the caller from the call that gave it to the one call of its
//            close or free function, which takes NULL too. To use or to free it after that is as
//            undefined as it is with free(). Results do not depend on the connection that they came
//            by. Nothing that is passed in is kept after the return.
// Threads    Different objects may be used at once by different threads. One object is used by one
//            thread at a time; results never change and may be read by many.
// Process    Not to be called from DllMain. Close everything before the DLL is unloaded.
#ifndef ORVA_CLIENT_H_
#define ORVA_CLIENT_H_

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32) && !defined(ORVA_CLIENT_STATIC)
#define ORVA_API __declspec(dllimport)
#else
#define ORVA_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

// The version of this header: major * 65536 + minor. A DLL serves every program that was built with
// the same major and an equal or smaller minor number.
#define ORVA_API_VERSION 0x00010000u

// The version of the DLL, in the same form. Any thread.
ORVA_API uint32_t orva_api_version(void);

// ---- Errors

typedef int32_t orva_code;
enum {
  ORVA_OK = 0,
  ORVA_ERROR_USAGE = 1,        // The call cannot be carried out as it is; nothing was sent.
  ORVA_ERROR_NO_SERVICE = 2,   // Nobody serves the pipe, or somebody who is not the service.
  ORVA_ERROR_TIMEOUT = 3,      // The time is over.
  ORVA_ERROR_REFUSED = 4,      // The service does not know the request.
  ORVA_ERROR_PROTOCOL = 5,     // What came cannot be understood, or the service hung up.
  ORVA_ERROR_SYSTEM = 6,       // Another failed call of Windows; see win32_code.
  ORVA_ERROR_INTERRUPTED = 7,  // orva_push_interrupt was called.
  ORVA_ERROR_MEMORY = 8,       // Out of memory.
  ORVA_ERROR_INTERNAL = 9      // A fault of this library.
};

typedef struct orva_error {
  orva_code code;        // The one that was returned.
  uint32_t win32_code;   // Of the failed call of Windows; 0 when none failed.
  uint32_t text_length;  // In bytes; 0 with ORVA_OK.
  char text[500];        // One English line for people, UTF-8, zero-terminated; cut when too long.
} orva_error;

// What a code means, in English: static, zero-terminated, never NULL, also for unknown codes. Any
// thread.
ORVA_API const char* orva_code_text(orva_code code);

// ---- Where the service is

// NULL in place of an endpoint, and zeros in each of its fields, mean the installed service.
typedef struct orva_endpoint {
  const char* pipe_name;  // With "\\.\pipe\" in front.
  size_t pipe_name_length;
  const char* service_name;  // Whose process must serve the pipe.
  size_t service_name_length;
  int32_t trust_any_server;  // Leave out that check. For tests: any program can create the pipe.
} orva_endpoint;

// ---- Connections for requests

typedef struct orva_client orva_client;

// Connects and checks that the service's own process serves the pipe, before anything is sent.
// While the service is starting or busy it tries again, until `connect_timeout_ms` is over.
//
// `client_id` is any number but 0 that no other program uses, such as the process id; it is the
// same for the push connection. `request_timeout_ms` bounds each request on this connection.
//
// Errors: NO_SERVICE when the service does not run or another process serves its pipe, TIMEOUT when
// it stays busy.
ORVA_API orva_code orva_client_connect(const orva_endpoint* endpoint, uint32_t client_id,
                                       uint32_t connect_timeout_ms, uint32_t request_timeout_ms,
                                       orva_client** client, orva_error* error);

// Closes the connection. The service goes on, and so does an acceleration: see orva_client_leave.
ORVA_API void orva_client_close(orva_client* client);

// 0 for NULL.
ORVA_API uint32_t orva_client_get_id(const orva_client* client);

// 0 after an error that has closed the connection, and for NULL. USAGE, REFUSED, and a PROTOCOL
// error in an answer that came whole leave it open, MEMORY may, every other error closes it:
// connect anew then.
ORVA_API int32_t orva_client_is_usable(const orva_client* client);

// For the requests from now on.
ORVA_API orva_code orva_client_set_timeout(orva_client* client, uint32_t request_timeout_ms,
                                           orva_error* error);

// ---- Requests
//
// Each waits for the service's answer, as long as the connection's request timeout. What is merely
// taken has its outcome announced on the push connection, so register there first. A text can have
// at most 65,535 bytes; a longer one is a USAGE error.

// Loads and initialises the acceleration library. `result`: 1 initialised, now or before; -1 it
// could not be loaded; -2 it lacks a function.
ORVA_API orva_code orva_client_init(orva_client* client, uint32_t channel_id,
                                    uint32_t channel_number, const char* channel_name,
                                    size_t channel_name_length, int32_t* result, orva_error* error);
ORVA_API orva_code orva_client_is_initialised(orva_client* client, int32_t* initialised,
                                              orva_error* error);
// Taken, no more. A login that the acceleration library refuses is never announced.
ORVA_API orva_code orva_client_login(orva_client* client, const char* account,
                                     size_t account_length, const char* credential,
                                     size_t credential_length, orva_error* error);
// The library counts as not initialised from now on. A running acceleration goes on.
ORVA_API orva_code orva_client_release(orva_client* client, orva_error* error);

typedef struct orva_start_request {
  uint32_t arg1;
  uint32_t arg2;
  uint32_t arg3;
  const char* text;
  size_t text_length;
  // Empty, "auto", or integers of 32 bits separated by ';'. Anything else is a USAGE error: the
  // service would end itself over it.
  const char* node_selection;
  size_t node_selection_length;
} orva_start_request;

// `accepted`: 0 when refused; 1 when accepted, or when a start of this client is under way already.
ORVA_API orva_code orva_client_start(orva_client* client, const orva_start_request* request,
                                     int32_t* accepted, orva_error* error);
// The same with one more argument, after stopping whatever runs.
ORVA_API orva_code orva_client_start_ex(orva_client* client, const orva_start_request* request,
                                        uint32_t arg4, int32_t* accepted, orva_error* error);
// Taken, no more. Any client may stop what any other has started.
ORVA_API orva_code orva_client_stop(orva_client* client, orva_error* error);

typedef struct orva_owner {
  int32_t any_acceleration;  // One runs or is being started.
  int32_t owned_by_caller;
} orva_owner;
ORVA_API orva_code orva_client_query_owner(orva_client* client, orva_owner* owner,
                                           orva_error* error);

// The low 32 bits of the service's clock, in milliseconds.
ORVA_API orva_code orva_client_heartbeat(orva_client* client, uint32_t* clock_ms,
                                         orva_error* error);

typedef struct orva_leave_outcome {
  int32_t last_client;  // The service ends itself after this answer.
  uint32_t remaining_clients;
} orva_leave_outcome;
// Ends this client's acceleration and its push connection. To be called last.
ORVA_API orva_code orva_client_leave(orva_client* client, orva_leave_outcome* outcome,
                                     orva_error* error);

// ---- Queries
//
// Fields have the names of the protocol; their meaning is the acceleration library's. Those that
// end in `status` are 0 when the library knows nothing, and everything else is then 0 or empty.

// Of the texts in results. To ask a result for one that it does not have gives NULL.
typedef int32_t orva_text;
enum {
  ORVA_TEXT_TEXT3 = 1,
  ORVA_TEXT_INFO_TEXT = 2,
  ORVA_TEXT_SERVER_KEY = 3,
  ORVA_TEXT_GAME_TEXT = 4,
  ORVA_TEXT_SERVER_TEXT = 5,
  ORVA_TEXT_NODE_TEXT = 6,
  ORVA_TEXT_USED_TEXT1 = 7,
  ORVA_TEXT_USED_TEXT2 = 8,
  ORVA_TEXT_RESULT_TEXT1 = 9,  // Also the one text of a stop and of a login.
  ORVA_TEXT_RESULT_TEXT2 = 10
};
// The functions that give a text return a pointer into the result, valid until it is freed, and
// write its length to `length`, which may be NULL. Without such a text: NULL and 0.

// All zeros and no text when the library is not initialised or gave nothing.
typedef struct orva_accel_data orva_accel_data;
typedef struct orva_accel_data_numbers {
  uint32_t value1;
  uint32_t value2;
  uint32_t value3;
  uint32_t value4;
  uint32_t value5;
  uint32_t value6;
  uint64_t value8;
  uint32_t value9;
  uint32_t value10;
} orva_accel_data_numbers;
ORVA_API orva_code orva_client_get_accel_data(orva_client* client, orva_accel_data** data,
                                              orva_error* error);
ORVA_API orva_code orva_accel_data_get_numbers(const orva_accel_data* data,
                                               orva_accel_data_numbers* numbers);
// TEXT3.
ORVA_API const char* orva_accel_data_get_text(const orva_accel_data* data, orva_text text,
                                              size_t* length);
ORVA_API void orva_accel_data_free(orva_accel_data* data);

// The status is 1 in any case.
typedef struct orva_console_data {
  uint32_t status;
  uint32_t console1;
  uint32_t console2;
  uint32_t console3;
  uint32_t console4;
  uint32_t console5;
  int32_t console_flag;
} orva_console_data;
ORVA_API orva_code orva_client_get_console_data(orva_client* client, orva_console_data* data,
                                                orva_error* error);

typedef struct orva_last_accel_info orva_last_accel_info;
typedef struct orva_last_accel_info_numbers {
  uint32_t status;
  uint32_t area_id;
  uint32_t node_id;
  int32_t info_flag;
  uint32_t info_value;
} orva_last_accel_info_numbers;
ORVA_API orva_code orva_client_get_last_accel_info(orva_client* client, uint32_t game_id,
                                                   orva_last_accel_info** info, orva_error* error);
ORVA_API orva_code orva_last_accel_info_get_numbers(const orva_last_accel_info* info,
                                                    orva_last_accel_info_numbers* numbers);
// INFO_TEXT, SERVER_KEY.
ORVA_API const char* orva_last_accel_info_get_text(const orva_last_accel_info* info, orva_text text,
                                                   size_t* length);
ORVA_API void orva_last_accel_info_free(orva_last_accel_info* info);

typedef struct orva_speed_summary {
  uint32_t status;
  uint32_t summary[14];  // summary1 to summary14.
} orva_speed_summary;
ORVA_API orva_code orva_client_get_speed_summary(orva_client* client, uint32_t game_id,
                                                 uint32_t area_id, const char* server_key,
                                                 size_t server_key_length, uint32_t test_option,
                                                 orva_speed_summary* summary, orva_error* error);

typedef struct orva_game_info orva_game_info;
typedef struct orva_game_info_numbers {
  uint32_t status;
  uint32_t game_id;
  uint32_t area_id;
  uint32_t node_id;
  int32_t info_flag;
  uint32_t info_value;
  uint32_t node_value1;
  uint32_t node_value2;
  uint64_t reserved_long;
  uint32_t reserved_word;
} orva_game_info_numbers;
ORVA_API orva_code orva_client_get_game_info(orva_client* client, uint32_t game_id,
                                             orva_game_info** info, orva_error* error);
ORVA_API orva_code orva_game_info_get_numbers(const orva_game_info* info,
                                              orva_game_info_numbers* numbers);
// GAME_TEXT, INFO_TEXT, SERVER_KEY, SERVER_TEXT, NODE_TEXT.
ORVA_API const char* orva_game_info_get_text(const orva_game_info* info, orva_text text,
                                             size_t* length);
ORVA_API void orva_game_info_free(orva_game_info* info);

typedef struct orva_used_nodes orva_used_nodes;
typedef struct orva_used_node_numbers {
  uint32_t used1;
  uint32_t used2;
  uint32_t used3;
  uint64_t used4;
} orva_used_node_numbers;
ORVA_API orva_code orva_client_get_used_nodes(orva_client* client, uint32_t game_id,
                                              orva_used_nodes** nodes, orva_error* error);
// 0 for NULL.
ORVA_API uint32_t orva_used_nodes_get_status(const orva_used_nodes* nodes);
ORVA_API size_t orva_used_nodes_get_count(const orva_used_nodes* nodes);
// `index` counts from 0; one that is not in the list is a USAGE error.
ORVA_API orva_code orva_used_nodes_get_numbers(const orva_used_nodes* nodes, size_t index,
                                               orva_used_node_numbers* numbers);
// USED_TEXT1, USED_TEXT2.
ORVA_API const char* orva_used_nodes_get_text(const orva_used_nodes* nodes, size_t index,
                                              orva_text text, size_t* length);
ORVA_API void orva_used_nodes_free(orva_used_nodes* nodes);

// ---- Any other request

typedef struct orva_answer orva_answer;
// Sends `payload` under any type and gives the payload of the answer as it came. The payload may be
// NULL with length 0. A type that the service does not know has an empty answer.
ORVA_API orva_code orva_client_request(orva_client* client, uint32_t type, const void* payload,
                                       size_t payload_length, orva_answer** answer,
                                       orva_error* error);
// Never NULL for an answer, also when it is empty; valid until the answer is freed.
ORVA_API const uint8_t* orva_answer_get_bytes(const orva_answer* answer, size_t* length);
ORVA_API void orva_answer_free(orva_answer* answer);

// ---- Notifications

typedef struct orva_push orva_push;

// Connects as orva_client_connect does and announces the client id. The service does not
// acknowledge it: make a heartbeat request before the first start or login, so that it has been
// noticed. Keep calling orva_push_next: the service drops a client that lets the pipe fill up.
ORVA_API orva_code orva_push_register(const orva_endpoint* endpoint, uint32_t client_id,
                                      uint32_t timeout_ms, orva_push** push, orva_error* error);

typedef struct orva_notification orva_notification;

// Waits for the next notification, whoever it is for. After TIMEOUT, INTERRUPTED and USAGE, and
// after a PROTOCOL error with win32_code 0, the connection can be used again and nothing else is
// lost. Any other error is final: close it.
ORVA_API orva_code orva_push_next(orva_push* push, uint32_t timeout_ms,
                                  orva_notification** notification, orva_error* error);

// From any thread, also while another waits in orva_push_next: ends that wait, or else the next
// one, with ORVA_ERROR_INTERRUPTED. Several calls before a wait count as one.
ORVA_API orva_code orva_push_interrupt(orva_push* push, orva_error* error);

// Not while another thread is in a call with this connection.
ORVA_API void orva_push_close(orva_push* push);

// For programs that read the push pipe themselves: `header` is its message of 20 bytes, `payload`
// the one that belongs to it. Bytes that do not fit each other are a PROTOCOL error.
ORVA_API orva_code orva_notification_decode(const void* header, size_t header_length,
                                            const void* payload, size_t payload_length,
                                            orva_notification** notification, orva_error* error);
ORVA_API void orva_notification_free(orva_notification* notification);

enum {
  ORVA_NOTIFY_START = 0x1000,
  ORVA_NOTIFY_START_EX = 0x1001,
  ORVA_NOTIFY_STOP = 0x1002,
  ORVA_NOTIFY_LOGIN = 0x1003
};

typedef struct orva_notification_head {
  uint32_t client_id;  // Whose request it is about; every client gets every notification.
  uint32_t type;       // ORVA_NOTIFY_..., or one that this library does not know.
  uint32_t timestamp;  // 100 ns ticks; wraps about every 429 s: for ordering only.
} orva_notification_head;
ORVA_API orva_code orva_notification_get_head(const orva_notification* notification,
                                              orva_notification_head* head);

// The three that follow are a USAGE error for a notification of another type.

typedef struct orva_accel_result {
  uint32_t value1;
  uint32_t value2;
  uint32_t value3;
  uint32_t value4;
  uint32_t value5;
  uint32_t state;        // 4: accelerating; 5, 6, 7: ended or failed; all others: progress.
  int32_t accelerating;  // The state is 4.
  int32_t ended;         // The state is 5, 6 or 7.
  // A text of 65,536 bytes or more came. Where the first one ends cannot be told then.
  int32_t text_lengths_wrapped;
} orva_accel_result;
// START and START_EX. Texts: RESULT_TEXT1, RESULT_TEXT2.
ORVA_API orva_code orva_notification_get_accel_result(const orva_notification* notification,
                                                      orva_accel_result* result);

typedef struct orva_stop_result {
  int32_t success;
  int32_t code;
} orva_stop_result;
// STOP. Text: RESULT_TEXT1.
ORVA_API orva_code orva_notification_get_stop_result(const orva_notification* notification,
                                                     orva_stop_result* result);

// LOGIN. `code`: 0 logged in, anything else is the acceleration library's. Text: RESULT_TEXT1.
ORVA_API orva_code orva_notification_get_login_result(const orva_notification* notification,
                                                      int32_t* code);

ORVA_API const char* orva_notification_get_text(const orva_notification* notification,
                                                orva_text text, size_t* length);

// The payload of a notification of an unknown type, valid until it is freed; NULL and 0 for all
// others.
ORVA_API const uint8_t* orva_notification_get_payload(const orva_notification* notification,
                                                      size_t* length);

#ifdef __cplusplus
}  // extern "C"
#endif

#endif  // ORVA_CLIENT_H_
