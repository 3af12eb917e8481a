// What the protocol page says about putting notifications together, against the client library.
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "client/notification_assembler.h"
#include "tests/support/golden_vectors.h"

namespace orva_accelerator::client {
namespace {

using nlohmann::json;

std::string textOf(std::string_view text) {
  return std::string(text);
}

json valuesOf(const orva_notification& notification) {
  if (const auto* accel = notification.accel) {
    return {{"value1", accel->value1},       {"value2", accel->value2},
            {"text1", textOf(accel->text1)}, {"value3", accel->value3},
            {"state", accel->state},         {"value4", accel->value4},
            {"value5", accel->value5},       {"text2", textOf(accel->text2)}};
  }
  if (const auto* stop = notification.stop) {
    return {{"success", stop->success}, {"code", stop->code}, {"text", textOf(stop->text)}};
  }
  return {{"code", notification.login->code}, {"text", textOf(notification.login->text)}};
}

// As the sequences write it.
json given(NotificationAssembler& assembler, ByteView message) {
  const auto taken = assembler.take(message);
  if (!taken) return "lost";
  if (!taken.value()) return nullptr;
  const orva_notification& notification = *taken.value();
  json written = {{"clientId", notification.client_id},
                  {"type", notification.type},
                  {"timestamp", notification.timestamp}};
  if (notification.payload != nullptr) {
    const ByteView payload(notification.payload, notification.payload_length);
    written["payload"] = test::hexFromBytes(payload);
  } else {
    written["values"] = valuesOf(notification);
  }
  return written;
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
