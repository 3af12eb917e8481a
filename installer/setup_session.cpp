#include "installer/setup_session.h"

#include <msiquery.h>

namespace orva_accelerator::installer {

std::wstring SetupSession::property(const wchar_t* name) const {
  // A size of 0 is not taken by every version of the installer.
  wchar_t probe[1] = {};
  DWORD length = 0;
  const UINT result = MsiGetPropertyW(handle_, name, probe, &length);
  if (result != ERROR_MORE_DATA && result != ERROR_SUCCESS) return {};
  std::wstring value(length + 1, L'\0');
  length = static_cast<DWORD>(value.size());
  if (MsiGetPropertyW(handle_, name, value.data(), &length) != ERROR_SUCCESS) return {};
  value.resize(length);
  return value;
}

bool SetupSession::setProperty(const wchar_t* name, const std::wstring& value) const {
  return MsiSetPropertyW(handle_, name, value.c_str()) == ERROR_SUCCESS;
}

void SetupSession::say(INSTALLMESSAGE type, const std::wstring& text) const {
  PMSIHANDLE record = MsiCreateRecord(1);
  if (record == 0) return;
  // The text as a field of its own: in the record's format, brackets would have a meaning.
  const std::wstring line = std::wstring(step_) + L": " + text;
  if (MsiRecordSetStringW(record, 0, L"[1]") != ERROR_SUCCESS) return;
  if (MsiRecordSetStringW(record, 1, line.c_str()) != ERROR_SUCCESS) return;
  // The answer would be a button, and there is only one.
  (void)MsiProcessMessage(handle_, type, record);
}

void SetupSession::log(const std::wstring& text) const {
  say(INSTALLMESSAGE_INFO, text);
}

void SetupSession::warn(Text text, const std::wstring& detail) const {
  say(INSTALLMESSAGE_WARNING, textIn(language_, text) + detail);
}

UINT SetupSession::fail(Text text, const std::wstring& detail) const {
  say(INSTALLMESSAGE_ERROR, textIn(language_, text) + detail);
  return ERROR_INSTALL_FAILURE;
}

}  // namespace orva_accelerator::installer
