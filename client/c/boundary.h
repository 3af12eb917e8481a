// What stands between the C functions and the library: no exception passes, every failure becomes a
// code, and arguments are looked at before they are used.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <new>
#include <optional>
#include <string>
#include <utility>

#include "client/answer.h"
#include "client/error.h"
#include "client/include/orva_client.h"
#include "client/result.h"

namespace orva_accelerator::client {

orva_code codeOf(ErrorKind kind) noexcept;

// These fill in `error`, which may be null, and return the code that goes with it.
orva_code reportSuccess(orva_error* error) noexcept;
orva_code reportError(orva_error* error, const Error& failure);
// For failures that have no Error: its text would need memory.
orva_code reportCode(orva_error* error, orva_code code) noexcept;

// An argument of a C function: a pointer that must not be null.
struct Argument {
  const void* value;
  const char* name;
};
// A text, which may be null when it has no bytes.
inline Argument textArgument(const void* text, std::size_t length, const char* name) {
  return Argument{length == 0 ? "" : text, name};
}

Error misuse(const char* function, const std::string& text);
// A usage error for the first null pointer; nothing when there is none.
std::optional<Error> checkArguments(const char* function, std::initializer_list<Argument> needed);

// Runs the body of a C function, something that returns a Result<Done>, unless a needed argument is
// missing.
template <typename Body>
orva_code guarded(const char* function, orva_error* error, std::initializer_list<Argument> needed,
                  Body body) noexcept {
  try {
    if (const auto misuse = checkArguments(function, needed)) return reportError(error, *misuse);
    const Result<Done> outcome = body();
    return outcome ? reportSuccess(error) : reportError(error, outcome.error());
  } catch (const std::bad_alloc&) {
    return reportCode(error, ORVA_ERROR_MEMORY);
  } catch (...) {
    return reportCode(error, ORVA_ERROR_INTERNAL);
  }
}

inline std::string textOf(const char* text, std::size_t length) {
  return length == 0 ? std::string() : std::string(text, length);
}

inline Result<Done> nothing() {
  return Done{};
}

// Hands the value on, if there is one.
template <typename Value, typename Take>
Result<Done> deliver(Result<Value> result, Take take) {
  if (!result) return std::move(result.error());
  take(std::move(result.value()));
  return Done{};
}

// The whole of a function that gives a record for orva_free: `make` gives a Result of its Answer.
template <typename Record, typename Make>
orva_code giveRecord(const char* function, orva_error* error, Record** record,
                     std::initializer_list<Argument> needed, Make make) noexcept {
  if (record == nullptr) return guarded(function, error, {{record, "the result"}}, nothing);
  *record = nullptr;
  return guarded(function, error, needed, [&] {
    return deliver(make(), [record](Answer<Record> answer) { *record = answer.release(); });
  });
}

}  // namespace orva_accelerator::client
