// Client 7 of the C interface, and a service that answers with golden bytes.
#pragma once

#include <gtest/gtest.h>

#include "tests/client/c/connected.h"
#include "tests/client/fake_service.h"

namespace orva_accelerator::test {

class FakeServiceTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(client_); }

  orva_client* client() const { return client_.get(); }

  // The last request is this golden one, byte for byte.
  void expectAsked(const char* vector) const {
    const auto requests = service_.requests();
    ASSERT_FALSE(requests.empty());
    EXPECT_TRUE(isMessage(goldenVector("requests.json", vector), requests.back()));
  }

  FakeService service_;
  CClient client_ = connectTo(service_.requestPipe(), 7);
  orva_error error_{};
};

}  // namespace orva_accelerator::test
