#include "client/c/boundary.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
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
  static_assert(ORVA_ERROR_USAGE + static_cast<orva_code>(ErrorKind::Interrupted) ==
                ORVA_ERROR_INTERRUPTED);
  if (kind > ErrorKind::Interrupted) return ORVA_ERROR_INTERNAL;
  return ORVA_ERROR_USAGE + static_cast<orva_code>(kind);
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
  static constexpr const char* kTexts[] = {
      "success",
      "the call cannot be carried out as it is",
      "the service is not installed",
      "the service is not running",
      "somebody else serves the service's pipe",
      "the service ended the connection",
      "the service did not get there in time",
      "the service does not know the request",
      "the service's bytes cannot be understood",
      "a system call failed",
      "interrupted",
      "out of memory",
      "a fault of the client library",
  };
  static_assert(std::size(kTexts) == ORVA_ERROR_INTERNAL + 1);
  if (code < ORVA_OK || code > ORVA_ERROR_INTERNAL) return "an unknown code";
  return kTexts[code];
}
