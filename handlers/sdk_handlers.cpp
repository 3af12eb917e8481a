// Setting up the library and logging in.

#include "handlers/payload_reader.h"
#include "handlers/request_handlers.h"
#include "handlers/response_writer.h"
#include "handlers/text_conversion.h"
#include "ipc/notifiers.h"
#include "ipc/wire/requests.h"
#include "sdk/accel_sdk.h"

namespace orva_accelerator::ipc {

void HandleSdkInit(PipeServer& /*server*/, const MessageHeader& /*header*/, const void* payload,
                   void*& response, std::uint32_t& responseLength) {
  const auto request = readFixedPart<SdkInitRequest>(payload);
  std::uint32_t cursor = sizeof(request);
  sdk::SdkInitParams params;
  params.channelId = request.channelId;
  params.channelNumber = request.channelNumber;
  params.channelName = ReadPayloadText(payload, cursor, request.channelNameLength);
  const std::int32_t result = sdk::AccelSdk::Instance().Init(params);
  respond(result, response, responseLength);
}

void HandleUserLogin(PipeServer& server, const MessageHeader& header, const void* payload,
                     void*& response, std::uint32_t& responseLength) {
  const auto request = readFixedPart<UserLoginRequest>(payload);
  std::uint32_t cursor = sizeof(request);
  const std::wstring account = ReadPayloadText(payload, cursor, request.accountLength);
  const std::wstring credential = ReadPayloadText(payload, cursor, request.credentialLength);
  // The answer says that the request was taken, whatever becomes of the login; its outcome is a
  // notification.
  respond(std::uint32_t{1}, response, responseLength);
  (void)sdk::AccelSdk::Instance().UserLoginFromAccount(
      account, credential, LoginResultNotifier(server, header.clientId));
}

void HandleSdkRelease(PipeServer& /*server*/, const MessageHeader& /*header*/,
                      const void* /*payload*/, void*& response, std::uint32_t& responseLength) {
  sdk::AccelSdk::Instance().Release();
  respond(std::uint32_t{1}, response, responseLength);
}

void HandleSdkIsInitialised(PipeServer& /*server*/, const MessageHeader& /*header*/,
                            const void* /*payload*/, void*& response,
                            std::uint32_t& responseLength) {
  const std::uint8_t initialised = sdk::AccelSdk::Instance().IsInitialised() ? 1 : 0;
  respond(initialised, response, responseLength);
}

}  // namespace orva_accelerator::ipc
