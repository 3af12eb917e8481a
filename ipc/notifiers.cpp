#include "ipc/notifiers.h"

#include <cstring>
#include <exception>
#include <vector>

#include "handlers/text_conversion.h"
#include "ipc/pipe_server.h"
#include "ipc/wire/messages.h"
#include "ipc/wire/notifications.h"

namespace orva_accelerator::ipc {

namespace {

constexpr char kStopSucceeded[] = "Acceleration stopped successfully";

std::uint16_t lengthField(const std::string& text) {
  return static_cast<std::uint16_t>(text.size());
}

// Cuts a text that its length field could not describe, without cutting a character in two.
std::string clipped(std::string text) {
  if (text.size() <= kLongestText) return text;
  std::size_t end = kLongestText;
  const auto isContinuation = [&text](std::size_t at) {
    return (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80;
  };
  while (end > 0 && isContinuation(end)) --end;
  text.resize(end);
  return text;
}

class PayloadBuilder {
 public:
  template <typename Fixed>
  PayloadBuilder(const Fixed& fixed, std::size_t textBytes) {
    bytes_.reserve(sizeof(fixed) + textBytes);
    append(&fixed, sizeof(fixed));
  }
  void appendText(const std::string& text) { append(text.data(), text.size()); }
  void broadcast(PipeServer& server, std::uint32_t clientId, NotificationType type) const {
    (void)server.BroadcastPush(
        clientId, type, bytes_.data(),
        static_cast<std::uint32_t>(bytes_.size()));  // Whom it reached is the clients' affair.
  }

 private:
  void append(const void* data, std::size_t size) {
    const auto* const first = static_cast<const std::uint8_t*>(data);
    bytes_.insert(bytes_.end(), first, first + size);
  }
  std::vector<std::uint8_t> bytes_;
};

void sendAccelResult(PipeServer& server, std::uint32_t clientId, NotificationType type,
                     const sdk::SAccelResult& result) {
  const std::string text1 = ToUtf8(result.text1);
  const std::string text2 = ToUtf8(result.text2);
  AccelResultPayload fixed = {};
  fixed.value1 = result.value1;
  fixed.value2 = result.value2;
  fixed.text1Length = lengthField(text1);
  fixed.value3 = result.value3;
  fixed.state = result.state;
  fixed.value4 = result.value4;
  fixed.value5 = result.value5;
  fixed.text2Length = lengthField(text2);
  // Both texts go out whole: clients rely on the frame's length where a length field has wrapped.
  PayloadBuilder payload(fixed, text1.size() + text2.size());
  payload.appendText(text1);
  payload.appendText(text2);
  payload.broadcast(server, clientId, type);
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
    // Out of memory or text that cannot be converted. The library's thread must not be unwound,
    // and the change of ownership stands.
  }
}

void StopResultNotifier::operator()(int code, const std::wstring& message) const {
  server_->ownership.clear();
  const std::string text = code == 0 ? std::string(kStopSucceeded) : clipped(ToUtf8(message));
  StopResultPayload fixed = {};
  fixed.success = code == 0 ? 1 : 0;
  fixed.code = code;
  fixed.textLength = lengthField(text);
  PayloadBuilder payload(fixed, text.size());
  payload.appendText(text);
  payload.broadcast(*server_, clientId_, NotifyStopAccel);
}

void LoginResultNotifier::operator()(int code, const std::wstring& message) const {
  const std::string text = clipped(ToUtf8(message));
  LoginResultPayload fixed = {};
  fixed.code = code;
  fixed.textLength = lengthField(text);
  PayloadBuilder payload(fixed, text.size());
  payload.appendText(text);
  payload.broadcast(*server_, clientId_, NotifyUserLogin);
}

}  // namespace orva_accelerator::ipc
