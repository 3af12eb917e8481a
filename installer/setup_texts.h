// What the installation tells people, in their language.
#pragma once

#include <string>

namespace orva_accelerator::installer {

enum class Language { English, Chinese };

enum class Text {
  NewerVersion,
  NoSpace,
  RealLibrary,
  ShadowingProgram,
  StateUnknown,
  NotStopped,
  NotDisabled,
  FileInUse,
  ForeignFolder,
  FolderNotSecured,
  NotKept,
  NotRegistered,
  NotUnregistered,
};

// `userLanguage` is the installer's property UserLanguageID, a decimal language identifier.
Language languageOf(const std::wstring& userLanguage);

// Ends with a blank when a detail is to follow.
std::wstring textIn(Language language, Text text);

}  // namespace orva_accelerator::installer
