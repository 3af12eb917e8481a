// Versions and the texts of codes.
#include "client/c/orva_client.h"

uint32_t orva_api_version(void) {
  return ORVA_API_VERSION;
}

const char* orva_code_text(orva_code code) {
  switch (code) {
    case ORVA_OK:
      return "success";
    case ORVA_ERROR_USAGE:
      return "the call cannot be carried out as it is";
    case ORVA_ERROR_NO_SERVICE:
      return "the service is not running, or somebody else serves its pipe";
    case ORVA_ERROR_TIMEOUT:
      return "the service did not get there in time";
    case ORVA_ERROR_REFUSED:
      return "the service does not know the request";
    case ORVA_ERROR_PROTOCOL:
      return "the service's bytes cannot be understood, or it ended the connection";
    case ORVA_ERROR_SYSTEM:
      return "a system call failed";
    case ORVA_ERROR_INTERRUPTED:
      return "interrupted";
    case ORVA_ERROR_MEMORY:
      return "out of memory";
    case ORVA_ERROR_INTERNAL:
      return "a fault of the client library";
    default:
      return "an unknown code";
  }
}
