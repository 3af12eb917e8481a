#include "client/c/boundary.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

namespace orva_accelerator::client {
namespace {

bool isContinuation(char byte) noexcept {
  return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

// Cut between two characters, so that what is left is UTF-8 if the whole is.
void copyText(orva_error& error, std::string_view text) noexcept {
  std::size_t length = std::min(text.size(), sizeof(error.text) - 1);
  if (length < text.size()) {
    while (length > 0 && isContinuation(text[length])) --length;
  }
  // Not memcpy, which takes no null pointer, as an empty text may be. The count is known.
  (void)text.copy(error.text, length);
  error.text[length] = '\0';
  error.text_length = static_cast<std::uint32_t>(length);
}

void fill(orva_error* error, orva_code code, std::uint32_t win32Code,
          std::string_view text) noexcept {
  if (error == nullptr) return;
  error->code = code;
  error->win32_code = win32Code;
  copyText(*error, text);
}

}  // namespace

orva_code codeOf(ErrorKind kind) noexcept {
  switch (kind) {
    case ErrorKind::Usage:
      return ORVA_ERROR_USAGE;
    case ErrorKind::NotInstalled:
      return ORVA_ERROR_NOT_INSTALLED;
    case ErrorKind::NotRunning:
      return ORVA_ERROR_NOT_RUNNING;
    case ErrorKind::NotTheService:
      return ORVA_ERROR_NOT_THE_SERVICE;
    case ErrorKind::HungUp:
      return ORVA_ERROR_HUNG_UP;
    case ErrorKind::Timeout:
      return ORVA_ERROR_TIMEOUT;
    case ErrorKind::Refused:
      return ORVA_ERROR_REFUSED;
    case ErrorKind::Protocol:
      return ORVA_ERROR_PROTOCOL;
    case ErrorKind::System:
      return ORVA_ERROR_SYSTEM;
    case ErrorKind::Interrupted:
      return ORVA_ERROR_INTERRUPTED;
  }
  return ORVA_ERROR_INTERNAL;
}

orva_code reportSuccess(orva_error* error) noexcept {
  fill(error, ORVA_OK, 0, {});
  return ORVA_OK;
}

orva_code reportError(orva_error* error, const Error& failure) {
  const orva_code code = codeOf(failure.kind);
  if (error != nullptr) fill(error, code, failure.win32Code, describe(failure));
  return code;
}

orva_code reportCode(orva_error* error, orva_code code) noexcept {
  fill(error, code, 0, orva_code_text(code));
  return code;
}

Error misuse(const char* function, const std::string& text) {
  return Error{ErrorKind::Usage, std::string("call ") + function, 0, text};
}

std::optional<Error> checkArguments(const char* function, std::initializer_list<Argument> needed) {
  for (const Argument& argument : needed) {
    if (argument.value == nullptr) return misuse(function, std::string(argument.name) + " is NULL");
  }
  return std::nullopt;
}

}  // namespace orva_accelerator::client

uint32_t orva_api_version(void) {
  return ORVA_API_VERSION;
}

void orva_free(void* record) {
  orva_accelerator::client::FreeAnswer()(record);
}

const char* orva_code_text(orva_code code) {
  switch (code) {
    case ORVA_OK:
      return "success";
    case ORVA_ERROR_USAGE:
      return "the call cannot be carried out as it is";
    case ORVA_ERROR_NOT_INSTALLED:
      return "the service is not installed";
    case ORVA_ERROR_NOT_RUNNING:
      return "the service is not running";
    case ORVA_ERROR_NOT_THE_SERVICE:
      return "somebody else serves the service's pipe";
    case ORVA_ERROR_HUNG_UP:
      return "the service ended the connection";
    case ORVA_ERROR_TIMEOUT:
      return "the service did not get there in time";
    case ORVA_ERROR_REFUSED:
      return "the service does not know the request";
    case ORVA_ERROR_PROTOCOL:
      return "the service's bytes cannot be understood";
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
