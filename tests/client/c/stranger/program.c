#include <orva_client.h>
#include <stdio.h>

int main(void) {
  orva_endpoint endpoint = {sizeof(endpoint), NULL, 0, "OrvaNoSuchService", 17, 0, 0, NULL};
  orva_client* client = NULL;
  const orva_code code = orva_client_connect(&endpoint, 7, 0, 0, &client, NULL);
  printf("%s\n", orva_code_text(code));
  return orva_api_version() == ORVA_API_VERSION ? 0 : 1;
}
