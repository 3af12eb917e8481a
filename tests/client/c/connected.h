// Connections of the C interface to pipes of a test's own, and what results say.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>

#include "client/include/orva_client.h"

namespace orva_accelerator::test {

template <auto release>
struct Release {
  template <typename Object>
  void operator()(Object* object) const {
    release(object);
  }
};
using CClient = std::unique_ptr<orva_client, Release<orva_client_close>>;
using CPush = std::unique_ptr<orva_push, Release<orva_push_close>>;
// A record that the interface gave.
template <typename Record>
using CRecord = std::unique_ptr<Record, Release<orva_free>>;
using CNotification = CRecord<orva_notification>;

// What a function gives that takes the place for it and an error last.
template <typename Record, typename Ask>
CRecord<Record> given(Ask ask) {
  Record* record = nullptr;
  orva_error error;
  EXPECT_EQ(ask(&record, &error), ORVA_OK) << error.text;
  return CRecord<Record>(record);
}

std::uint32_t patienceMs();

// Served by whoever. `utf8Name` must live as long as the endpoint.
orva_endpoint endpointOf(const std::string& utf8Name);
std::string utf8PipeName(const std::wstring& name);

// Null, and a failed test, when it cannot be had.
CClient connectTo(const std::wstring& pipe, std::uint32_t clientId);
CPush registerAt(const std::wstring& pipe, std::uint32_t clientId, orva_cancel* cancel = nullptr);
CNotification nextOf(const CPush& push);

// The zero behind it is checked as well.
std::string textOf(const orva_text& text);

}  // namespace orva_accelerator::test
