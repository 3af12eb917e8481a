#include "tools/notification_view.h"

#include "ipc/wire/message_types.h"
#include "tools/display_width.h"
#include "tools/hex.h"
#include "tools/record_text.h"

namespace orva_accelerator::tools {
namespace {

const char* TypeName(std::uint32_t type) {
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
Json Fields(const orva_notification& notification) {
  if (notification.accel != nullptr) {
    Json json{{"stateName", StateName(*notification.accel)}};
    json.update(ToJson(*notification.accel));
    if (notification.accel->text_lengths_wrapped != 0) json["textLengthsWrapped"] = true;
    return json;
  }
  if (notification.stop != nullptr) return ToJson(*notification.stop);
  if (notification.login != nullptr) return ToJson(*notification.login);
  return Json{{"payload", PlainHex({notification.payload, notification.payload_length})}};
}

const char* Word(const orva_notification& notification) {
  if (notification.accel != nullptr) return StateName(*notification.accel);
  if (notification.stop != nullptr) return notification.stop->success != 0 ? "stopped" : "failed";
  if (notification.login != nullptr) {
    return notification.login->success != 0 ? "logged in" : "failed";
  }
  return "not understood";
}

constexpr std::size_t kTypeWidth = 8;
constexpr std::size_t kWordWidth = 12;

}  // namespace

const char* StateName(const orva_accel_result& result) {
  if (result.accelerating != 0) return "accelerating";
  return result.ended != 0 ? "ended" : "progress";
}

Json NotificationJson(const orva_notification& notification, std::uint32_t ownId) {
  Json json{{"notification", TypeName(notification.type)},
            {"type", notification.type},
            {"clientId", notification.client_id},
            {"own", notification.client_id == ownId},
            {"timestamp", notification.timestamp}};
  json.update(Fields(notification));
  return json;
}

std::string NotificationText(const orva_notification& notification, std::uint32_t ownId) {
  std::string line = Padded(TypeName(notification.type), kTypeWidth) + "  client " +
                     std::to_string(notification.client_id) +
                     (notification.client_id == ownId ? " (own)" : "") + "  " +
                     Padded(Word(notification), kWordWidth);
  const char* separator = "  ";
  // items() refers to the object, which therefore has to outlive the loop.
  const Json fields = Fields(notification);
  for (const auto& [name, value] : fields.items()) {
    // Said in the word already; empty texts say nothing.
    // NOLINTNEXTLINE(readability-container-size-empty): a text in JSON is no container.
    if (name == "stateName" || name == "success" || value == "") continue;
    line += separator + name + " " + ValueText(value);
    separator = ", ";
  }
  return line;
}

}  // namespace orva_accelerator::tools
