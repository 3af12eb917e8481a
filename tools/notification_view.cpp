#include "tools/notification_view.h"

#include "ipc/wire/notifications.h"
#include "tools/display_width.h"
#include "tools/hex.h"
#include "tools/record_text.h"

namespace orva_accelerator::tools {
namespace {

const char* typeName(std::uint32_t type) {
  switch (type) {
    case ipc::NotifyStartAccel:
      return "start";
    case ipc::NotifyStartAccelEx:
      return "start-ex";
    case ipc::NotifyStopAccel:
      return "stop";
    case ipc::NotifyUserLogin:
      return "login";
    default:
      return "unknown";
  }
}

// What the type says in particular.
Json fieldsOf(const orva_notification& notification) {
  if (notification.accel != nullptr) {
    Json json{{"stateName", stateName(*notification.accel)}};
    json.update(toJson(*notification.accel));
    if (notification.accel->text_lengths_wrapped != 0) json["textLengthsWrapped"] = true;
    return json;
  }
  if (notification.stop != nullptr) return toJson(*notification.stop);
  if (notification.login != nullptr) return toJson(*notification.login);
  return Json{{"payload", plainHex({notification.payload, notification.payload_length})}};
}

const char* word(const orva_notification& notification) {
  if (notification.accel != nullptr) return stateName(*notification.accel);
  if (notification.stop != nullptr) return notification.stop->success != 0 ? "stopped" : "failed";
  if (notification.login != nullptr) {
    return notification.login->success != 0 ? "logged in" : "failed";
  }
  return "not understood";
}

constexpr std::size_t kTypeWidth = 8;
constexpr std::size_t kWordWidth = 12;

}  // namespace

const char* stateName(const orva_accel_result& result) {
  if (result.accelerating != 0) return "accelerating";
  return result.ended != 0 ? "ended" : "progress";
}

Json notificationJson(const orva_notification& notification, std::uint32_t ownId) {
  Json json{{"notification", typeName(notification.type)},
            {"type", notification.type},
            {"clientId", notification.client_id},
            {"own", notification.client_id == ownId},
            {"timestamp", notification.timestamp}};
  json.update(fieldsOf(notification));
  return json;
}

std::string notificationText(const orva_notification& notification, std::uint32_t ownId) {
  std::string line = padded(typeName(notification.type), kTypeWidth) + "  client " +
                     std::to_string(notification.client_id) +
                     (notification.client_id == ownId ? " (own)" : "") + "  " +
                     padded(word(notification), kWordWidth);
  const char* separator = "  ";
  // items() refers to the object, which therefore has to outlive the loop.
  const Json fields = fieldsOf(notification);
  for (const auto& [name, value] : fields.items()) {
    // Said in the word already; empty texts say nothing.
    // NOLINTNEXTLINE(readability-container-size-empty): a text in JSON is no container.
    if (name == "stateName" || name == "success" || value == "") continue;
    line += separator + name + " " + valueText(value);
    separator = ", ";
  }
  return line;
}

}  // namespace orva_accelerator::tools
