// What a step of the installation knows and says: its own name, its data, the installer's log.
#pragma once

#include <windows.h>

#include <msi.h>

#include <string>

#include "installer/setup_texts.h"

namespace orva_accelerator::installer {

// Borrows the installer's handle for one call of one step. `step` is the step's name, which begins
// every line that it writes, so that whoever reads the log finds the step that failed.
class SetupSession {
 public:
  SetupSession(MSIHANDLE handle, const wchar_t* step) : handle_(handle), step_(step) {}

  // Empty when there is none. Of a deferred step, only "CustomActionData" and few others are there.
  std::wstring property(const wchar_t* name) const;
  // False when the installer refuses; it then cannot go on.
  bool setProperty(const wchar_t* name, const std::wstring& value) const;

  // To the log only.
  void log(const std::wstring& text) const;
  // To the log and, unless the installation is silent, to the screen.
  void warn(Text text, const std::wstring& detail) const;
  // Says why the step fails, and returns what a failed step returns to the installer.
  UINT fail(Text text, const std::wstring& detail) const;

  void setLanguage(Language language) { language_ = language; }

 private:
  void say(INSTALLMESSAGE type, const std::wstring& text) const;

  MSIHANDLE handle_;
  const wchar_t* step_;
  Language language_ = Language::English;
};

}  // namespace orva_accelerator::installer
