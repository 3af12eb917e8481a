// What stands between the C functions and the library: no exception passes, every failure becomes a
// code, and arguments are looked at before they are used.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <new>
#include <optional>
#include <string>
#include <utility>

#include "client/c/orva_client.h"
#include "client/error.h"
#include "client/result.h"

namespace orva_accelerator::client {

orva_code CodeOf(ErrorKind kind) noexcept;

// These fill in `error`, which may be null, and return the code that goes with it.
orva_code ReportSuccess(orva_error* error) noexcept;
orva_code ReportError(orva_error* error, const Error& failure);
// For failures that have no Error: its text would need memory.
orva_code ReportCode(orva_error* error, orva_code code) noexcept;

// An argument of a C function: a pointer that must not be null.
struct Argument {
  const void* value;
  const char* name;
};
// A text, which may be null when it has no bytes.
inline Argument TextArgument(const void* text, std::size_t length, const char* name) {
  return Argument{length == 0 ? "" : text, name};
}

Error Misuse(const char* function, const std::string& text);
// A usage error for the first null pointer; nothing when there is none.
std::optional<Error> CheckArguments(const char* function, std::initializer_list<Argument> needed);

// Runs the body of a C function, something that returns a Result<Done>, unless a needed argument is
// missing.
template <typename Body>
orva_code Guarded(const char* function, orva_error* error, std::initializer_list<Argument> needed,
                  Body body) noexcept {
  try {
    if (const auto misuse = CheckArguments(function, needed)) return ReportError(error, *misuse);
    const Result<Done> outcome = body();
    return outcome ? ReportSuccess(error) : ReportError(error, outcome.error());
  } catch (const std::bad_alloc&) {
    return ReportCode(error, ORVA_ERROR_MEMORY);
  } catch (...) {
    return ReportCode(error, ORVA_ERROR_INTERNAL);
  }
}

inline std::string TextOf(const char* text, std::size_t length) {
  return length == 0 ? std::string() : std::string(text, length);
}

// Hands the value on, if there is one.
template <typename Value, typename Take>
Result<Done> Deliver(Result<Value> result, Take take) {
  if (!result) return std::move(result.error());
  take(std::move(result.value()));
  return Done{};
}

// Puts the value into an object of the C interface, which the caller frees.
template <typename Value, typename Object>
Result<Done> DeliverObject(Result<Value> result, Object** object) {
  return Deliver(std::move(result),
                 [object](Value value) { *object = new Object{std::move(value)}; });
}

// A text of a result; the pointer is null without one.
const char* GiveText(const std::string* text, std::size_t* length) noexcept;

}  // namespace orva_accelerator::client
