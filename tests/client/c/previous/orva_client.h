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
//            none is counted; NULL is allowed with length 0. On the way out see orva_text.
// Flags      int32_t, 0 or 1.
// Timeouts   Milliseconds for the whole call. 0 tries once and waits for nothing. Everything from
//            0x7FFFFFFF on, some 24 days, counts as 0x7FFFFFFF.
// Ownership  A connection belongs to the caller until the one call of its close function, and so
//            does every record that a function gives until orva_free; both take NULL too. To use
//            or to free it after that is as undefined as it is with free(). Records do not depend
//            on the connection that they came by. Nothing that is passed in is kept after the
//            return.
// Threads    Different objects may be used at once by different threads. One object is used by one
//            thread at a time; records never change and may be read by many.
// Process    Not to be called from DllMain. Close everything before the DLL is unloaded.
#ifndef ORVA_CLIENT_H_
#define ORVA_CLIENT_H_

#include <stddef.h>
#include <stdint.h>

#include "orva_answers.h"

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
  ORVA_ERROR_USAGE = 1,            // The call cannot be carried out as it is; nothing was sent.
  ORVA_ERROR_NOT_INSTALLED = 2,    // There is no such service: install it.
  ORVA_ERROR_NOT_RUNNING = 3,      // It is there and does not run: start it.
  ORVA_ERROR_NOT_THE_SERVICE = 4,  // Somebody else serves the pipe: do not try again.
  ORVA_ERROR_HUNG_UP = 5,          // The service ended the connection, or itself: connect anew.
  ORVA_ERROR_TIMEOUT = 6,          // The time is over.
  ORVA_ERROR_REFUSED = 7,          // The service does not know the request.
  ORVA_ERROR_PROTOCOL = 8,         // What came cannot be understood: a bug on one of the sides.
  ORVA_ERROR_SYSTEM = 9,           // Another failed call of Windows; see win32_code.
  ORVA_ERROR_INTERRUPTED = 10,     // orva_cancel_set was called.
  ORVA_ERROR_MEMORY = 11,          // Out of memory.
  ORVA_ERROR_INTERNAL = 12         // A fault of this library.
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

// Releases a record that a function gave, with everything that it points to. Any thread.
ORVA_API void orva_free(void* record);

// ---- Ending waits from another thread

typedef struct orva_cancel orva_cancel;

ORVA_API orva_code orva_cancel_create(orva_cancel** cancel, orva_error* error);
// Any thread: every wait that was given this object, and every later one until orva_cancel_reset,
// ends with ORVA_ERROR_INTERRUPTED. A request that was under way closes its connection.
ORVA_API orva_code orva_cancel_set(orva_cancel* cancel, orva_error* error);
ORVA_API orva_code orva_cancel_reset(orva_cancel* cancel, orva_error* error);
// After everything that was given it has been closed.
ORVA_API void orva_cancel_close(orva_cancel* cancel);

// ---- Where the service is, and how to get there

// Nothing else switches the check of the server off, so that no uninitialised record does.
#define ORVA_TRUST_ANY_SERVER 0x54525553

// NULL in place of an endpoint, and zeros in each of its fields but the first, mean the installed
// service.
typedef struct orva_endpoint {
  size_t size;            // sizeof(orva_endpoint), or it is a USAGE error.
  const char* pipe_name;  // With "\\.\pipe\" in front.
  size_t pipe_name_length;
  const char* service_name;  // Whose process must serve the pipe.
  size_t service_name_length;
  // 0, or ORVA_TRUST_ANY_SERVER to leave out that check. For tests: any program can create the
  // pipe.
  int32_t trust_any_server;
  int32_t start_service;  // 1: start the service if it does not run, and wait for it.
  orva_cancel* cancel;    // Ends connecting, and every wait of the connection. Kept, not copied.
} orva_endpoint;

// ---- The service itself
//
// For every signed-in user, without elevation. `endpoint` says which service, and what ends the
// wait. TIMEOUT when it is not so in time. Windows itself waits up to 30 s for a new process to
// report; that cannot be cut short.

// Starts it unless it runs, and waits until it does.
ORVA_API orva_code orva_service_start(const orva_endpoint* endpoint, uint32_t timeout_ms,
                                      orva_error* error);
// Stops it if it runs, and waits until its process has ended.
ORVA_API orva_code orva_service_stop(const orva_endpoint* endpoint, uint32_t timeout_ms,
                                     orva_error* error);
// Only wait, for somebody else to start or to stop it.
ORVA_API orva_code orva_service_wait_until_running(const orva_endpoint* endpoint,
                                                   uint32_t timeout_ms, orva_error* error);
ORVA_API orva_code orva_service_wait_until_ended(const orva_endpoint* endpoint, uint32_t timeout_ms,
                                                 orva_error* error);

// ---- Connections for requests

typedef struct orva_client orva_client;

// Connects and checks that the service's own process serves the pipe, before anything is sent.
// While the service is starting or busy it tries again, until `connect_timeout_ms` is over.
//
// `client_id` is any number but 0 that no other program uses, such as the process id; it is the
// same for the push connection. `request_timeout_ms` bounds each request on this connection.
//
// Errors: NOT_INSTALLED and NOT_RUNNING at once, NOT_THE_SERVICE when nobody but somebody else
// serves the pipe until the time is over, TIMEOUT when the service stays busy.
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
  size_t size;  // sizeof(orva_start_request), or it is a USAGE error.
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

ORVA_API orva_code orva_client_query_owner(orva_client* client, orva_owner** owner,
                                           orva_error* error);

// The low 32 bits of the service's clock, in milliseconds.
ORVA_API orva_code orva_client_heartbeat(orva_client* client, uint32_t* clock_ms,
                                         orva_error* error);

// Ends this client's acceleration and its push connection. To be called last.
ORVA_API orva_code orva_client_leave(orva_client* client, orva_leave_outcome** outcome,
                                     orva_error* error);

// ---- Queries

ORVA_API orva_code orva_client_get_accel_data(orva_client* client, orva_accel_data** data,
                                              orva_error* error);
ORVA_API orva_code orva_client_get_console_data(orva_client* client, orva_console_data** data,
                                                orva_error* error);
ORVA_API orva_code orva_client_get_last_accel_info(orva_client* client, uint32_t game_id,
                                                   orva_last_accel_info** info, orva_error* error);
ORVA_API orva_code orva_client_get_speed_summary(orva_client* client, uint32_t game_id,
                                                 uint32_t area_id, const char* server_key,
                                                 size_t server_key_length, uint32_t test_option,
                                                 orva_speed_summary** summary, orva_error* error);
ORVA_API orva_code orva_client_get_game_info(orva_client* client, uint32_t game_id,
                                             orva_game_info** info, orva_error* error);
ORVA_API orva_code orva_client_get_used_nodes(orva_client* client, uint32_t game_id,
                                              orva_used_nodes** nodes, orva_error* error);

// Sends `payload` under any type and gives the payload of the answer as it came. The payload may be
// NULL with length 0. A type that the service does not know has an empty answer.
ORVA_API orva_code orva_client_request(orva_client* client, uint32_t type, const void* payload,
                                       size_t payload_length, orva_bytes** answer,
                                       orva_error* error);

// ---- Notifications

typedef struct orva_push orva_push;

// Connects as orva_client_connect does and announces the client id. The service does not
// acknowledge it: make a heartbeat request before the first start or login, so that it has been
// noticed. Keep calling orva_push_next: the service drops a client that lets the pipe fill up.
ORVA_API orva_code orva_push_register(const orva_endpoint* endpoint, uint32_t client_id,
                                      uint32_t timeout_ms, orva_push** push, orva_error* error);

// Waits for the next notification, whoever it is for. After TIMEOUT, INTERRUPTED and USAGE, and
// after a PROTOCOL error with win32_code 0, the connection can be used again and nothing else is
// lost. Any other error is final: close it.
ORVA_API orva_code orva_push_next(orva_push* push, uint32_t timeout_ms,
                                  orva_notification** notification, orva_error* error);

// Not while another thread is in a call with this connection.
ORVA_API void orva_push_close(orva_push* push);

// For programs that read the push pipe themselves: `header` is its message of 20 bytes, `payload`
// the one that belongs to it. Bytes that do not fit each other are a PROTOCOL error.
ORVA_API orva_code orva_notification_decode(const void* header, size_t header_length,
                                            const void* payload, size_t payload_length,
                                            orva_notification** notification, orva_error* error);

#ifdef __cplusplus
}  // extern "C"
#endif

#endif  // ORVA_CLIENT_H_
