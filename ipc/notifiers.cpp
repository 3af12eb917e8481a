#include "ipc/notifiers.h"

#include <exception>
#include <initializer_list>
#include <string_view>

#include "ipc/pipe_server.h"
#include "ipc/wire/messages.h"
#include "ipc/wire/notifications.h"
#include "sdk/accel_sdk.h"
#include "win32/utf8.h"

namespace orva_accelerator::ipc {

namespace {

constexpr char kStopSucceeded[] = "Acceleration stopped successfully";

std::uint16_t lengthField(const std::string& text) {
  return static_cast<std::uint16_t>(text.size());
}

// The message of a stop or a login, cut to what its length field can describe without cutting a
// character in two. The code is what a client waits for: it goes out without a message that cannot
// be converted.
std::string shownMessage(const std::wstring& message) {
  std::string text = win32::utf8FromWide(message).value_or("");
  if (text.size() <= kLongestText) return text;
  std::size_t end = kLongestText;
  const auto isContinuation = [&text](std::size_t at) {
    return (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80;
  };
  while (end > 0 && isContinuation(end)) --end;
  text.resize(end);
  return text;
}

// The fixed part and the texts go out whole: where a length field has wrapped, clients rely on the
// frame's length.
template <typename Fixed>
void send(PipeServer& server, std::uint32_t clientId, NotificationType type, const Fixed& fixed,
          std::initializer_list<std::string_view> texts) {
  std::string payload(reinterpret_cast<const char*>(&fixed), sizeof(fixed));
  for (const std::string_view text : texts) payload += text;
  // Whom it reached is the clients' affair.
  (void)server.BroadcastPush(clientId, type, payload.data(),
                             static_cast<std::uint32_t>(payload.size()));
}

void sendAccelResult(PipeServer& server, std::uint32_t clientId, NotificationType type,
                     const sdk::SAccelResult& result) {
  // Throw when a text cannot be converted: half of a result is none.
  // NOLINTBEGIN(bugprone-unchecked-optional-access)
  const std::string text1 = win32::utf8FromWide(result.text1).value();
  const std::string text2 = win32::utf8FromWide(result.text2).value();
  // NOLINTEND(bugprone-unchecked-optional-access)
  AccelResultPayload fixed = {};
  fixed.value1 = result.value1;
  fixed.value2 = result.value2;
  fixed.text1Length = lengthField(text1);
  fixed.value3 = result.value3;
  fixed.state = result.state;
  fixed.value4 = result.value4;
  fixed.value5 = result.value5;
  fixed.text2Length = lengthField(text2);
  send(server, clientId, type, fixed, {text1, text2});
}

}  // namespace

void AccelResultNotifier::operator()(const sdk::SAccelResult& result) const {
  PipeServer* const server = currentPipeServer;
  if (server == nullptr) return;
  server->ownership.settle(result.state, clientId_);
  try {
    sendAccelResult(*server, clientId_, type_, result);
    // NOLINTNEXTLINE(bugprone-empty-catch): nobody is left who could be told.
  } catch (const std::exception&) {
    // Out of memory, or a text that cannot be converted. The notification is lost and the change of
    // ownership stands; the library's thread must not be unwound.
  }
}

void StopResultNotifier::operator()(int code, const std::wstring& message) const {
  server_->ownership.clear();
  const std::string text = code == 0 ? std::string(kStopSucceeded) : shownMessage(message);
  StopResultPayload fixed = {};
  fixed.success = code == 0 ? 1 : 0;
  fixed.code = code;
  fixed.textLength = lengthField(text);
  send(*server_, clientId_, NotifyStopAccel, fixed, {text});
}

void LoginResultNotifier::operator()(int code, const std::wstring& message) const {
  const std::string text = shownMessage(message);
  LoginResultPayload fixed = {};
  fixed.code = code;
  fixed.textLength = lengthField(text);
  send(*server_, clientId_, NotifyUserLogin, fixed, {text});
}

void stopAccelUnasked(AccelerationOwnership& ownership) {
  (void)sdk::AccelSdk::Instance().StopAccel(IgnoreStopResult());
  ownership.clear();
}

}  // namespace orva_accelerator::ipc
