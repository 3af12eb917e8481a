// Either a value or an Error.
#pragma once

#include <utility>
#include <variant>

#include "client/error.h"

namespace orva_accelerator::client {

// The value of an operation that has none to give.
struct Done {};

// Reading the side that is not there is a programming mistake and throws std::bad_variant_access.
template <typename T>
class [[nodiscard]] Result {
 public:
  Result(T value) : outcome_(std::in_place_index<0>, std::move(value)) {}
  Result(Error error) : outcome_(std::in_place_index<1>, std::move(error)) {}

  bool ok() const noexcept { return outcome_.index() == 0; }
  explicit operator bool() const noexcept { return ok(); }

  T& value() { return std::get<0>(outcome_); }
  const T& value() const { return std::get<0>(outcome_); }
  Error& error() { return std::get<1>(outcome_); }
  const Error& error() const { return std::get<1>(outcome_); }

 private:
  std::variant<T, Error> outcome_;
};

}  // namespace orva_accelerator::client
