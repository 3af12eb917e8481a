// What the installation tells people, in their language.
#pragma once

#include <string>

namespace orva_accelerator::installer {

enum class Language { kEnglish, kChinese };

enum class Text {
  kNewerVersion,
  kNoSpace,
  kRealLibrary,
  kShadowingProgram,
  kStateUnknown,
  kNotStopped,
  kNotDisabled,
  kFileInUse,
  kForeignFolder,
  kFolderNotSecured,
  kNotKept,
  kNotRegistered,
  kNotUnregistered,
};

// `userLanguage` is the installer's property UserLanguageID, a decimal language identifier.
Language languageOf(const std::wstring& userLanguage);

// Ends with a blank when a detail is to follow.
std::wstring textIn(Language language, Text text);

}  // namespace orva_accelerator::installer
