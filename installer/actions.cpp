// The steps of the installation that are ours, as Windows Installer calls them; the table of all
// steps with their order is in make_msi.py. A step returns 0, or fails with a line in the log that
// begins with its name.
#include <windows.h>

#include <msi.h>

#include <cwchar>

#include "installer/command_word.h"
#include "installer/install_folder.h"
#include "installer/kept_files.h"
#include "installer/library_kind.h"
#include "installer/process_list.h"
#include "installer/registered_service.h"
#include "installer/replaceable_files.h"
#include "installer/setup_session.h"
#include "installer/setup_state.h"
#include "installer/shadowing_programs.h"

namespace orva_accelerator::installer {

namespace {

// A stop takes about a second, plus what the library needs to stop an acceleration.
constexpr DWORD kStopLimitMs = 20'000;
constexpr DWORD kProgramsLimitMs = 5'000;
constexpr DWORD kFileLimitMs = 10'000;
// A registration that was deleted stays until the last window that shows it is closed; the windows
// of others let go of it after a moment.
constexpr DWORD kDeletedLimitMs = 10'000;
constexpr DWORD kRetryMs = 500;
constexpr DWORD kCommandLimitMs = 60'000;
// Beside what the package says: for the registry, and what the installer keeps of itself.
constexpr std::uint64_t kSpareBytes = 4'000'000;

// Each is told the same.
constexpr const wchar_t* kLaterSteps[] = {
    L"OrvaUndoStop",     L"OrvaStopService",     L"OrvaCheckFiles",
    L"OrvaSecureFolder", L"OrvaUndoFiles",       L"OrvaKeepFiles",
    L"OrvaForgetFiles",  L"OrvaUndoUnregister",  L"OrvaUnregisterService",
    L"OrvaUndoRegister", L"OrvaRegisterService", L"OrvaStartService",
    L"OrvaCleanUp"};

std::wstring executableIn(const std::wstring& folder) {
  return folder + L"\\OrvaAcceleratorService.exe";
}

std::wstring installFolder(const SetupSession& session) {
  std::wstring folder = session.property(L"INSTALLDIR");
  while (folder.ends_with(L'\\')) folder.pop_back();
  return folder;
}

// Whether this removal belongs to an upgrade, whose new version is registered already and keeps the
// service. Not every version of the installer says so by UPGRADINGPRODUCTCODE.
bool isReplaced(const SetupSession& session) {
  if (!session.property(L"UPGRADINGPRODUCTCODE").empty()) return true;
  const std::wstring own = session.property(L"ProductCode");
  const std::wstring family = session.property(L"UpgradeCode");
  wchar_t product[39] = {};
  for (DWORD i = 0; MsiEnumRelatedProductsW(family.c_str(), 0, i, product) == ERROR_SUCCESS; ++i) {
    if (!isSameName(product, own) && MsiQueryProductStateW(product) == INSTALLSTATE_DEFAULT) {
      return true;
    }
  }
  return false;
}

// Whether the registration is of this installation rather than of one elsewhere.
bool isOurs(const SetupState& state) {
  return state.service && isSameName(state.service->path, executableIn(state.folder));
}

UINT refuse(const SetupSession& session, const std::wstring& folder) {
  if (const std::wstring newer = session.property(L"ORVA_NEWER"); !newer.empty()) {
    return session.fail(Text::NewerVersion, newer);
  }
  if (session.property(L"ORVASIMULATED") == L"1" &&
      libraryKind(libraryIn(folder)) == LibraryKind::Real) {
    return session.fail(Text::RealLibrary, libraryIn(folder));
  }
  // Asked again by OrvaSecureFolder, when it matters.
  if (!isOwnFolder(folder)) return session.fail(Text::ForeignFolder, folder);
  const std::uint64_t neededKb =
      std::wcstoull(session.property(L"ORVANEEDEDKB").c_str(), nullptr, 10);
  if (!hasSpace(folder, neededKb * 1024 + kSpareBytes)) {
    return session.fail(Text::NoSpace, std::to_wstring(neededKb) + L" KB");
  }
  return ERROR_SUCCESS;
}

UINT prepare(SetupSession& session) {
  SetupState state;
  state.folder = installFolder(session);
  state.language = session.property(L"UserLanguageID");
  session.setLanguage(languageOf(state.language));
  const bool removing = session.property(L"REMOVE") == L"ALL";
  if (removing && isReplaced(session)) {
    session.log(L"a new version takes the service over");
    return session.setProperty(L"ORVAKEEP", L"1") ? ERROR_SUCCESS : ERROR_INSTALL_FAILURE;
  }
  if (!removing) {
    if (const UINT refused = refuse(session, state.folder)) return refused;
    const std::wstring program = shadowingProgram(executableIn(state.folder));
    if (!program.empty()) session.warn(Text::ShadowingProgram, program);
  }
  // For the list of installed programs.
  if (!session.setProperty(L"ARPINSTALLLOCATION", state.folder)) return ERROR_INSTALL_FAILURE;
  DWORD error = 0;
  state.service = registeredService(error);
  if (error != 0) return session.fail(Text::StateUnknown, std::to_wstring(error));
  // A registration of an installation elsewhere is taken over, but not removed with ours.
  if (removing && !isOurs(state)) state.service.reset();
  const std::wstring data = toData(state);
  session.log(data);
  for (const wchar_t* step : kLaterSteps) {
    if (!session.setProperty(step, data)) return ERROR_INSTALL_FAILURE;
  }
  return ERROR_SUCCESS;
}

UINT stop(const SetupSession& session, const SetupState& state) {
  if (!state.service) return ERROR_SUCCESS;
  if (const DWORD error = disableService(*state.service, kDeletedLimitMs)) {
    return session.fail(Text::NotDisabled, std::to_wstring(error));
  }
  if (!stopService(kStopLimitMs)) return session.fail(Text::NotStopped, L"");
  return ERROR_SUCCESS;
}

UINT checkFiles(const SetupSession& session, const SetupState& state) {
  if (!endProgramsIn(state.folder, kProgramsLimitMs)) {
    return session.fail(Text::FileInUse, state.folder);
  }
  const std::wstring file = fileInUse(state.folder, kFileLimitMs);
  return file.empty() ? ERROR_SUCCESS : session.fail(Text::FileInUse, file);
}

UINT secure(const SetupSession& session, const SetupState& state) {
  if (!isOwnFolder(state.folder)) return session.fail(Text::ForeignFolder, state.folder);
  const std::wstring failed = secureFolder(state.folder);
  return failed.empty() ? ERROR_SUCCESS : session.fail(Text::FolderNotSecured, failed);
}

// Tries the word again while a deleted registration stands in the way. Empty, or what it ended
// with.
std::wstring runRegistering(const SetupState& state, const wchar_t* word) {
  const ULONGLONG deadline = GetTickCount64() + kDeletedLimitMs;
  for (;;) {
    const auto code = runCommandWord(executableIn(state.folder), word, kCommandLimitMs);
    if (code == 0) return {};
    if (code != ERROR_SERVICE_MARKED_FOR_DELETE || GetTickCount64() >= deadline) {
      return std::wstring(word) + L": " + (code ? std::to_wstring(*code) : L"-");
    }
    Sleep(kRetryMs);
  }
}

UINT registerService(const SetupSession& session, const SetupState& state) {
  // install leaves the path of an existing registration alone, which may have been made elsewhere.
  for (const wchar_t* word : {L"install", L"update"}) {
    const std::wstring failed = runRegistering(state, word);
    if (!failed.empty()) return session.fail(Text::NotRegistered, failed);
    session.log(std::wstring(word) + L": 0");
  }
  return ERROR_SUCCESS;
}

UINT undoRegister(const SetupSession& session, const SetupState& state) {
  DWORD error = 0;
  if (!state.service) {
    error = deleteRegistration();
  } else if (!isOurs(state)) {
    error = changeRegisteredPath(state.service->path);
  }
  session.log(L"error " + std::to_wstring(error));
  return ERROR_SUCCESS;
}

UINT unregister(const SetupSession& session, const SetupState& state) {
  if (!isOurs(state)) return ERROR_SUCCESS;
  const DWORD error = deleteRegistration();
  return error == 0 ? ERROR_SUCCESS : session.fail(Text::NotUnregistered, std::to_wstring(error));
}

UINT undoUnregister(const SetupSession& session, const SetupState& state) {
  if (isOurs(state)) session.log(L"install " + runRegistering(state, L"install"));
  return ERROR_SUCCESS;
}

// After everything has been done or undone; nothing can be taken back any more, so it does not
// fail.
UINT restore(const SetupSession& session, const SetupState& state) {
  if (!state.service) return ERROR_SUCCESS;
  session.log(L"error " + std::to_wstring(restoreService(*state.service)));
  return ERROR_SUCCESS;
}

UINT keep(const SetupSession& session, const SetupState& state) {
  const std::wstring failed = keepFiles(state.folder);
  return failed.empty() ? ERROR_SUCCESS : session.fail(Text::NotKept, failed);
}

UINT putBack(const SetupSession& session, const SetupState& state) {
  const std::wstring failed = putFilesBack(state.folder);
  if (!failed.empty()) session.log(L"cannot put back " + failed);
  return ERROR_SUCCESS;
}

UINT forget(const SetupSession& /*session*/, const SetupState& state) {
  forgetFiles(state.folder);
  return ERROR_SUCCESS;
}

UINT cleanUp(const SetupSession& session, const SetupState& state) {
  if (!removeSimulatedLibrary(state.folder)) session.log(L"the simulated library stays");
  removeEmptyFolders(state.folder);
  forgetState();
  return ERROR_SUCCESS;
}

using Step = UINT (*)(const SetupSession&, const SetupState&);

UINT run(MSIHANDLE handle, const wchar_t* name, Step step) {
  SetupSession session(handle, name);
  const SetupState state = fromData(session.property(L"CustomActionData"));
  session.setLanguage(languageOf(state.language));
  // Without it, every path would begin at the root of the disk.
  if (state.folder.empty()) return ERROR_INSTALL_FAILURE;
  return step(session, state);
}

}  // namespace

}  // namespace orva_accelerator::installer

namespace installer = orva_accelerator::installer;

extern "C" {

UINT __stdcall OrvaPrepare(MSIHANDLE handle) {
  installer::SetupSession session(handle, L"OrvaPrepare");
  return installer::prepare(session);
}

UINT __stdcall OrvaStopService(MSIHANDLE handle) {
  return installer::run(handle, L"OrvaStopService", installer::stop);
}

UINT __stdcall OrvaUndoStop(MSIHANDLE handle) {
  return installer::run(handle, L"OrvaUndoStop", installer::restore);
}

UINT __stdcall OrvaCheckFiles(MSIHANDLE handle) {
  return installer::run(handle, L"OrvaCheckFiles", installer::checkFiles);
}

UINT __stdcall OrvaSecureFolder(MSIHANDLE handle) {
  return installer::run(handle, L"OrvaSecureFolder", installer::secure);
}

UINT __stdcall OrvaKeepFiles(MSIHANDLE handle) {
  return installer::run(handle, L"OrvaKeepFiles", installer::keep);
}

UINT __stdcall OrvaUndoFiles(MSIHANDLE handle) {
  return installer::run(handle, L"OrvaUndoFiles", installer::putBack);
}

UINT __stdcall OrvaForgetFiles(MSIHANDLE handle) {
  return installer::run(handle, L"OrvaForgetFiles", installer::forget);
}

UINT __stdcall OrvaRegisterService(MSIHANDLE handle) {
  return installer::run(handle, L"OrvaRegisterService", installer::registerService);
}

UINT __stdcall OrvaUndoRegister(MSIHANDLE handle) {
  return installer::run(handle, L"OrvaUndoRegister", installer::undoRegister);
}

UINT __stdcall OrvaUnregisterService(MSIHANDLE handle) {
  return installer::run(handle, L"OrvaUnregisterService", installer::unregister);
}

UINT __stdcall OrvaUndoUnregister(MSIHANDLE handle) {
  return installer::run(handle, L"OrvaUndoUnregister", installer::undoUnregister);
}

UINT __stdcall OrvaStartService(MSIHANDLE handle) {
  return installer::run(handle, L"OrvaStartService", installer::restore);
}

UINT __stdcall OrvaCleanUp(MSIHANDLE handle) {
  return installer::run(handle, L"OrvaCleanUp", installer::cleanUp);
}

}  // extern "C"
