// What the protocol page says about putting notifications together, against the client library.
#include <gtest/gtest.h>

#include "client/notification_assembler.h"
#include "tests/support/golden_vectors.h"

namespace orva_accelerator::client {
namespace {

using nlohmann::json;

// As the sequences write a notification.
json written(const AccelResult& result) {
  return {{"value1", result.value1}, {"value2", result.value2}, {"text1", result.text1},
          {"value3", result.value3}, {"state", result.state},   {"value4", result.value4},
          {"value5", result.value5}, {"text2", result.text2}};
}

json written(const StopResult& result) {
  return {{"success", result.success ? 1 : 0}, {"code", result.code}, {"text", result.text}};
}

json written(const LoginResult& result) {
  return {{"code", result.code}, {"text", result.text}};
}

json written(const UnknownResult& result) {
  return test::hexFromBytes(result.payload);
}

json given(NotificationAssembler& assembler, ByteView message) {
  const auto taken = assembler.Take(message);
  if (!taken) return "lost";
  if (!taken.value()) return nullptr;
  const Notification& notification = *taken.value();
  const bool isKnown = !std::holds_alternative<UnknownResult>(notification.body);
  return {{"clientId", notification.clientId},
          {"type", notification.type},
          {"timestamp", notification.timestamp},
          {isKnown ? "values" : "payload",
           std::visit([](const auto& body) { return written(body); }, notification.body)}};
}

TEST(NotificationSequences, GiveWhatTheySay) {
  ASSERT_FALSE(test::goldenSequences().empty());
  for (const test::GoldenSequence& sequence : test::goldenSequences()) {
    SCOPED_TRACE(sequence.name);
    NotificationAssembler assembler;
    for (std::size_t i = 0; i < sequence.messages.size(); ++i) {
      const auto& [bytes, gives] = sequence.messages[i];
      const json found = given(assembler, bytes);
      // Texts of 64 KiB are not for reading.
      EXPECT_TRUE(found == gives) << "message " << i << " gives " << found.dump().substr(0, 300);
    }
    EXPECT_EQ(assembler.waiting(), 0u);
  }
}

}  // namespace
}  // namespace orva_accelerator::client
