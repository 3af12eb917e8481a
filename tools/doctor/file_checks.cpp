#include "tools/doctor/file_checks.h"

#include <windows.h>

#include <aclapi.h>

#include <algorithm>
#include <cstdint>
#include <span>

#include "ipc/wire/pipe_names.h"
#include "service/shared_names.h"
#include "tools/doctor/access_list.h"
#include "tools/doctor/pe_image.h"
#include "win32/unique_handle.h"

namespace orva_accelerator::tools {
namespace {

// What the real ones are far below; a larger file is not read.
constexpr std::int64_t kLargestFile = std::int64_t{256} * 1024 * 1024;

constexpr const char* kRequiredExports[] = {
#define ORVA_NAME(name) #name,
    ORVA_KERNEL_FUNCTIONS(ORVA_NAME)
#undef ORVA_NAME
};

// 0 or the error of the call that failed.
DWORD readWhole(const std::wstring& path, std::vector<std::uint8_t>& bytes) {
  const win32::UniqueFileHandle file(CreateFileW(
      path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return GetLastError();
  LARGE_INTEGER size{};
  if (!GetFileSizeEx(file.get(), &size)) return GetLastError();
  if (size.QuadPart > kLargestFile) return ERROR_FILE_TOO_LARGE;
  bytes.resize(static_cast<std::size_t>(size.QuadPart));
  DWORD read = 0;
  if (!ReadFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr)) {
    return GetLastError();
  }
  bytes.resize(read);
  return 0;
}

bool holdsThePipeName(std::span<const std::uint8_t> file) {
  const auto name = std::as_bytes(std::span(ipc::kRequestPipeName));
  return !std::ranges::search(std::as_bytes(file), name).empty();
}

bool isMissing(DWORD code) {
  return code == ERROR_FILE_NOT_FOUND || code == ERROR_PATH_NOT_FOUND;
}

std::string cannotBeRead(const std::string& path, DWORD code) {
  return isMissing(code) ? path + " is not there"
                         : path + " cannot be read (Win32 error " + std::to_string(code) + ")";
}

std::vector<std::string> missingExports(const PeImage& image) {
  std::vector<std::string> missing;
  for (const char* name : kRequiredExports) {
    const bool there = std::ranges::find(image.exports, name) != image.exports.end();
    if (!there) missing.emplace_back(name);
  }
  return missing;
}

// Empty when everything is there.
std::string exportTrouble(const PeImage& image) {
  const auto missing = missingExports(image);
  if (missing.empty()) return {};
  const std::string all = std::to_string(std::size(kRequiredExports));
  if (missing.size() == std::size(kRequiredExports)) return "none of the " + all + " functions";
  std::string text = std::to_string(missing.size()) + " of " + all + " functions:";
  for (const std::string& name : missing) text += " " + name;
  return text;
}

constexpr DWORD kWriteRights = FILE_WRITE_DATA | FILE_APPEND_DATA | FILE_DELETE_CHILD | DELETE |
                               WRITE_DAC | WRITE_OWNER | GENERIC_WRITE | GENERIC_ALL;

// 0 or the error of the call.
DWORD rightsOnPath(const std::wstring& path, std::uint32_t& rights) {
  PACL list = nullptr;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  const DWORD code = GetNamedSecurityInfoW(path.c_str(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION,
                                           nullptr, nullptr, &list, nullptr, &descriptor);
  const win32::UniqueLocalMemory owner(descriptor);
  if (code == ERROR_SUCCESS) rights = rightsOfOrdinaryUsers(readAccessList(descriptor));
  return code;
}

}  // namespace

Finding checkExecutable(const std::wstring& file) {
  const std::string path = utf8(file);
  Finding finding{"executable", Verdict::Problem, {}, "install the service again"};
  std::vector<std::uint8_t> bytes;
  if (const DWORD code = readWhole(file, bytes); code != 0) {
    finding.text = cannotBeRead(path, code);
    // A file that only this account cannot read may be in order.
    if (!isMissing(code)) finding.verdict = Verdict::Warning;
    return finding;
  }
  const PeReading reading = readPe(bytes);
  if (!reading.image) {
    finding.text = "it cannot be executed: " + reading.trouble;
  } else if (!reading.image->is64Bit || reading.image->isLibrary) {
    finding.text = "it is no 64-bit program";
  } else if (!holdsThePipeName(bytes)) {
    finding.text = "another program is registered under the service's name";
  } else {
    return {"executable", Verdict::Ok, "it is there, and it is the service", {}};
  }
  return finding;
}

std::wstring libraryBelow(const std::wstring& folder) {
  return folder + L"\\accel_sdk\\sdk_x64\\OpenKernel.dll";
}

Finding checkLibrary(const std::wstring& file) {
  Finding finding{"library", Verdict::Problem, {}, "install the service and its library again"};
  std::vector<std::uint8_t> bytes;
  if (const DWORD code = readWhole(file, bytes); code != 0) {
    finding.text = cannotBeRead(utf8(file), code);
    if (!isMissing(code)) finding.verdict = Verdict::Warning;
    return finding;
  }
  const PeReading reading = readPe(bytes);
  if (!reading.image) {
    finding.text = "OpenKernel.dll cannot be loaded: " + reading.trouble;
  } else if (!reading.image->is64Bit) {
    finding.text = "OpenKernel.dll is not made for 64-bit programs, and the service is one";
  } else if (!reading.image->isLibrary) {
    finding.text = "OpenKernel.dll is a program, not a library";
  } else if (const std::string trouble = exportTrouble(*reading.image); !trouble.empty()) {
    finding.text = "OpenKernel.dll lacks " + trouble;
    finding.advice = "install the library of this version; the service ends when it loads this one";
  } else {
    return {"library",
            Verdict::Ok,
            "64-bit, with all " + std::to_string(std::size(kRequiredExports)) + " functions",
            {}};
  }
  return finding;
}

Finding checkWriteAccess(const std::vector<std::wstring>& paths, bool underWine) {
  if (underWine) {
    return {"write access",
            Verdict::NotChecked,
            "Wine makes up the rights on files from those of the system below it",
            {}};
  }
  for (const std::wstring& path : paths) {
    std::uint32_t rights = 0;
    const DWORD code = rightsOnPath(path, rights);
    if (isMissing(code)) continue;
    if (code != 0) {
      return {"write access",
              Verdict::NotChecked,
              "the rights on " + utf8(path) + " cannot be read (Win32 error " +
                  std::to_string(code) + ")",
              {}};
    }
    if ((rights & kWriteRights) != 0) {
      return {"write access", Verdict::Problem,
              "ordinary users can change " + utf8(path) + ", and so run anything as LocalSystem",
              "install into Program Files, or take the users' write access away"};
    }
  }
  return {"write access", Verdict::Ok, "only administrators can change the files", {}};
}

}  // namespace orva_accelerator::tools
