// A program as it was built with the header of version 1.0, and that is run with the DLL of today.
//
//   program REQUEST-PIPE PUSH-PIPE
//
// Says what it gets. Its endpoint ends where the memory ends that it may read, so that a DLL that
// takes it for one of today's cannot go unnoticed.
#include <orva_client.h>
#include <stdio.h>
#include <string.h>
#include <windows.h>

#if ORVA_API_VERSION != 0x00010000u
#error "not the header of version 1.0"
#endif

#define PATIENCE_MS 30000

static int failed(const char* what, const orva_error* error) {
  printf("%s: %d %s\n", what, (int)error->code, error->text);
  return 1;
}

static orva_endpoint* endpoint_before_a_wall(const char* pipe_name) {
  SYSTEM_INFO system;
  char* pages;
  orva_endpoint* endpoint;
  DWORD before = 0;
  GetSystemInfo(&system);
  pages = VirtualAlloc(NULL, (size_t)system.dwPageSize * 2, MEM_COMMIT, PAGE_READWRITE);
  if (pages == NULL) return NULL;
  if (!VirtualProtect(pages + system.dwPageSize, system.dwPageSize, PAGE_NOACCESS, &before)) {
    return NULL;
  }
  endpoint = (orva_endpoint*)(void*)(pages + system.dwPageSize - sizeof(orva_endpoint));
  memset(endpoint, 0, sizeof(*endpoint));
  endpoint->size = sizeof(*endpoint);
  endpoint->pipe_name = pipe_name;
  endpoint->pipe_name_length = strlen(pipe_name);
  endpoint->trust_any_server = ORVA_TRUST_ANY_SERVER;
  return endpoint;
}

int main(int argc, char** argv) {
  orva_error error;
  orva_endpoint* endpoint;
  orva_push* push = NULL;
  orva_client* client = NULL;
  orva_start_request start = {sizeof(start), 1001, 2, 5, "asia-1", 6, "auto", 4};
  orva_notification* notification = NULL;
  orva_used_nodes* nodes = NULL;
  int32_t accepted = 0;
  if (argc != 3) return 2;
  if (orva_api_version() >> 16 != ORVA_API_VERSION >> 16) return 3;
  if (orva_api_version() < ORVA_API_VERSION) return 4;
  endpoint = endpoint_before_a_wall(argv[2]);
  if (endpoint == NULL) return 5;
  if (orva_push_register(endpoint, 7, PATIENCE_MS, &push, &error)) return failed("push", &error);
  endpoint = endpoint_before_a_wall(argv[1]);
  if (endpoint == NULL) return 5;
  if (orva_client_connect(endpoint, 7, PATIENCE_MS, PATIENCE_MS, &client, &error)) {
    return failed("connect", &error);
  }
  if (orva_client_start(client, &start, &accepted, &error)) return failed("start", &error);
  printf("accepted %d\n", (int)accepted);
  if (orva_push_next(push, PATIENCE_MS, &notification, &error)) return failed("next", &error);
  printf("state %u, %s\n", (unsigned)notification->accel->state, notification->accel->text1.bytes);
  orva_free(notification);
  if (orva_client_get_used_nodes(client, 1001, &nodes, &error)) return failed("nodes", &error);
  printf("nodes %u\n", (unsigned)nodes->count);
  orva_free(nodes);
  orva_client_close(client);
  orva_push_close(push);
  return 0;
}
