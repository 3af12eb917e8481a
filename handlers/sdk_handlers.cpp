// Setting up the library and logging in.

#include <windows.h>

#include "handlers/request_handlers.h"
#include "ipc/notifiers.h"
#include "sdk/accel_sdk.h"

namespace orva_accelerator::ipc {

namespace {

void wipe(std::wstring& text) {
  SecureZeroMemory(text.data(), text.size() * sizeof(wchar_t));
}

}  // namespace

Answer HandleSdkInit(const Request<MsgSdkInit>& request) {
  auto [channelName] = request.texts();
  return request.answer({.result = sdk::AccelSdk::Instance().Init({
                             .channelId = request.fixed.channelId,
                             .channelNumber = request.fixed.channelNumber,
                             .channelName = std::move(channelName),
                         })});
}

Answer HandleUserLogin(const Request<MsgUserLogin>& request) {
  auto [account, credential] = request.texts();
  // Made ahead: it says that the request was taken, whatever becomes of the login. The outcome is a
  // notification.
  Answer taken = request.answer({.taken = 1});
  (void)sdk::AccelSdk::Instance().UserLoginFromAccount(
      account, credential, LoginResultNotifier(request.server, request.clientId));
  // The library has them now; no dump of this process is to show them.
  wipe(account);
  wipe(credential);
  return taken;
}

Answer HandleSdkRelease(const Request<MsgSdkRelease>& request) {
  sdk::AccelSdk::Instance().Release();
  return request.answer({.released = 1});
}

Answer HandleSdkIsInitialised(const Request<MsgSdkIsInitialised>& request) {
  const bool initialised = sdk::AccelSdk::Instance().IsInitialised();
  return request.answer({.initialised = std::uint8_t{initialised}});
}

}  // namespace orva_accelerator::ipc
