// A whole session with the service in C, by OrvaClient.dll.
//
//   session ACCOUNT CREDENTIAL GAME AREA SERVER
//
// Initialises the library, logs in, accelerates until it is confirmed, shows some figures, stops
// and leaves. Prints a line for each step in UTF-8; ends with 1 and a reason if a step fails.
#include <orva_client.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <windows.h>

// For connecting, for one answer, and for the outcome of something that was taken.
#define CONNECT_MS 5000
#define ANSWER_MS 10000
#define OUTCOME_MS 10000

typedef struct session {
  uint32_t id;
  orva_push* push;
  orva_client* client;
} session;

// Ends the program when a call has failed. Everything is released by the system then.
static void check(orva_code code, const orva_error* error) {
  if (code == ORVA_OK) return;
  fprintf(stderr, "%s\n", error->text_length != 0 ? error->text : orva_code_text(code));
  exit(1);
}

static void fail(const char* reason) {
  fprintf(stderr, "%s\n", reason);
  exit(1);
}

static void open_session(session* s) {
  orva_error error;
  s->id = (uint32_t)GetCurrentProcessId();
  check(orva_connect_listening(NULL, s->id, CONNECT_MS, ANSWER_MS, &s->client, &s->push, &error),
        &error);
  printf("connected\n");
}

static void initialise(const session* s) {
  static const char channel[] = "official";
  orva_error error;
  int32_t result = 0;
  check(orva_client_init(s->client, 1, 0, channel, strlen(channel), &result, &error), &error);
  if (result == -1) fail("the acceleration library could not be loaded");
  if (result != 1) fail("the acceleration library lacks a function");
  printf("initialised\n");
}

// What became of the request whose outcome is of this type; to be freed.
static orva_notification* await(session* s, uint32_t type, orva_progress progress) {
  orva_error error;
  orva_notification* outcome = NULL;
  check(orva_push_await(s->push, type, OUTCOME_MS, progress, s, &outcome, &error), &error);
  return outcome;
}

static void log_in(session* s, const char* account, const char* credential) {
  orva_error error;
  int32_t code;
  orva_notification* notification;
  check(orva_client_login(s->client, account, strlen(account), credential, strlen(credential),
                          &error),
        &error);
  notification = await(s, ORVA_NOTIFY_LOGIN, NULL);
  code = notification->login->code;
  orva_free(notification);
  if (code != 0) {
    printf("the login was refused, code %d\n", (int)code);
    exit(1);
  }
  printf("logged in\n");
}

static void show_state(const orva_accel_result* result) {
  printf("state %u: %s, %s\n", (unsigned)result->state, result->text1.bytes, result->text2.bytes);
}

// Notifications for other clients come by as well.
static void show_progress(void* context, const orva_notification* notification) {
  const session* s = (const session*)context;
  if (notification->client_id == s->id && notification->accel) show_state(notification->accel);
}

static void accelerate(session* s, uint32_t game, uint32_t area, const char* server) {
  orva_error error;
  orva_notification* notification;
  int32_t accepted = 0;
  int32_t ended;
  orva_start_request request = {sizeof(request), 0, 0, 0, NULL, 0, NULL, 0};
  request.arg1 = game;
  request.arg2 = area;
  request.text = server;
  request.text_length = strlen(server);
  request.node_selection = "auto";
  request.node_selection_length = 4;
  check(orva_client_start(s->client, &request, &accepted, &error), &error);
  if (!accepted) fail("the start was refused");
  notification = await(s, ORVA_NOTIFY_START, show_progress);
  show_state(notification->accel);
  ended = notification->accel->ended;
  orva_free(notification);
  if (ended) fail("the acceleration has ended");
}

static void show_figures(const session* s) {
  orva_error error;
  orva_owner* owner = NULL;
  orva_accel_data* data = NULL;
  check(orva_client_query_owner(s->client, &owner, &error), &error);
  printf("mine: %s\n", owner->owned_by_caller ? "yes" : "no");
  orva_free(owner);
  check(orva_client_get_accel_data(s->client, &data, &error), &error);
  printf("game %u, area %u, node %s\n", (unsigned)data->value2, (unsigned)data->value3,
         data->text3.bytes);
  orva_free(data);
}

static void show_used_nodes(const session* s, uint32_t game) {
  orva_error error;
  size_t i;
  orva_used_nodes* nodes = NULL;
  check(orva_client_get_used_nodes(s->client, game, &nodes, &error), &error);
  for (i = 0; i < nodes->count; ++i) {
    const orva_used_node* node = &nodes->nodes[i];
    printf("used node %u: %s\n", (unsigned)node->used1, node->used_text1.bytes);
  }
  orva_free(nodes);
}

static void stop(session* s) {
  orva_error error;
  orva_notification* notification;
  check(orva_client_stop(s->client, &error), &error);
  notification = await(s, ORVA_NOTIFY_STOP, NULL);
  printf("stopped, code %d\n", (int)notification->stop->code);
  orva_free(notification);
}

static void leave(session* s) {
  orva_error error;
  orva_leave_outcome* outcome = NULL;
  check(orva_client_leave(s->client, &outcome, &error), &error);
  printf("left, %u remain\n", (unsigned)outcome->remaining_clients);
  orva_free(outcome);
  orva_client_close(s->client);
  orva_push_close(s->push);
}

int main(int argc, char** argv) {
  session s = {0, NULL, NULL};
  uint32_t game;
  uint32_t area;
  if (argc != 6) {
    fprintf(stderr, "usage: session ACCOUNT CREDENTIAL GAME AREA SERVER\n");
    return 2;
  }
  // An older DLL lacks functions; of another major version nothing can be relied upon.
  if (orva_api_version() >> 16 != ORVA_API_VERSION >> 16 || orva_api_version() < ORVA_API_VERSION)
    fail("OrvaClient.dll does not fit");
  game = (uint32_t)strtoul(argv[3], NULL, 10);
  area = (uint32_t)strtoul(argv[4], NULL, 10);
  open_session(&s);
  initialise(&s);
  log_in(&s, argv[1], argv[2]);
  accelerate(&s, game, area, argv[5]);
  show_figures(&s);
  show_used_nodes(&s, game);
  stop(&s);
  leave(&s);
  return 0;
}
