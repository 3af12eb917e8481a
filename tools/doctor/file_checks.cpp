#include "tools/doctor/file_checks.h"

#include <windows.h>

#include <algorithm>
#include <bit>

#include "service/shared_names.h"
#include "tools/doctor/library_imports.h"
#include "tools/doctor/pe_image.h"
#include "tools/doctor/registered_path.h"
#include "tools/version_resource.h"

namespace orva_accelerator::tools {
namespace {

constexpr const char* kRequiredExports[] = {
#define ORVA_NAME(name) #name,
    ORVA_KERNEL_FUNCTIONS(ORVA_NAME)
#undef ORVA_NAME
};

// Otherwise `finding` says why not.
bool canRead(const std::wstring& file, PeReading& reading, Finding& finding) {
  const DWORD code = readPeFile(file, reading);
  if (code == 0) return true;
  if (isMissing(code)) {
    finding.text = utf8(file) + " is not there";
    return false;
  }
  // A file that only this account cannot read may be in order.
  finding.verdict = Verdict::Warning;
  finding.text = withCode(utf8(file) + " cannot be read", code);
  return false;
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

// The true one, whatever the program's manifest names.
std::string windowsVersion() {
  using GetVersion = LONG(WINAPI*)(OSVERSIONINFOW*);
  const HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
  if (ntdll == nullptr) return "unknown";
  const FARPROC function = GetProcAddress(ntdll, "RtlGetVersion");
  if (function == nullptr) return "unknown";
  OSVERSIONINFOW version{};
  version.dwOSVersionInfoSize = sizeof(version);
  if (std::bit_cast<GetVersion>(function)(&version) != 0) {
    return "unknown";
  }
  return std::to_string(version.dwMajorVersion) + "." + std::to_string(version.dwMinorVersion) +
         "." + std::to_string(version.dwBuildNumber);
}

}  // namespace

Finding checkExecutable(const std::wstring& file) {
  const std::string path = utf8(file);
  Finding finding{"executable", Verdict::Problem, {}, "install this version's service as " + path};
  PeReading reading;
  if (!canRead(file, reading, finding)) return finding;
  const auto resource = readVersionResource(file);
  if (!reading.image) {
    finding.text = path + " cannot be executed: " + reading.trouble;
  } else if (!reading.image->is64Bit || reading.image->isLibrary) {
    finding.text = path + " is no 64-bit program";
  } else if (!resource || !isTheService(*resource)) {
    finding.text = "another program is registered under the service's name: " + path;
  } else {
    return {"executable", Verdict::Ok, "it is there, and it is the service", {}};
  }
  return finding;
}

std::wstring libraryBelow(const std::wstring& folder) {
  return folder + L"\\accel_sdk\\sdk_x64\\OpenKernel.dll";
}

Finding checkLibrary(const std::wstring& folder) {
  const std::wstring file = libraryBelow(folder);
  Finding finding{
      "library", Verdict::Problem, {}, "install this version's library as " + utf8(file)};
  PeReading reading;
  if (!canRead(file, reading, finding)) return finding;
  if (!reading.image) {
    finding.text = "OpenKernel.dll cannot be loaded: " + reading.trouble;
  } else if (!reading.image->is64Bit) {
    finding.text = "OpenKernel.dll is not made for 64-bit programs, and the service is one";
  } else if (!reading.image->isLibrary) {
    finding.text = "OpenKernel.dll is a program, not a library";
  } else if (const auto needs = importTrouble(*reading.image, {folder, folderOf(file)});
             !needs.empty()) {
    finding.text = "OpenKernel.dll cannot be loaded: it needs " + needs;
    finding.advice = "put it into " + utf8(folderOf(file));
  } else if (const std::string trouble = exportTrouble(*reading.image); !trouble.empty()) {
    finding.text = "OpenKernel.dll lacks " + trouble;
    finding.advice += "; the service ends when it loads this one";
  } else {
    return {"library",
            Verdict::Ok,
            "64-bit, with all " + std::to_string(std::size(kRequiredExports)) +
                " functions and everything that it needs",
            {}};
  }
  return finding;
}

Finding checkVersions(const std::wstring& executable, const std::wstring& library) {
  const auto service = readVersionResource(executable);
  const auto kernel = readVersionResource(library);
  std::string text = "service " + (service ? service->version : "unknown") + ", library " +
                     (kernel ? kernel->version : "unknown");
  if (kernel && isTheSimulatedLibrary(*kernel)) text += " (simulated)";
  return {"versions",
          Verdict::Ok,
          text + ", orvactl " ORVA_VERSION ", Windows " + windowsVersion(),
          {}};
}

}  // namespace orva_accelerator::tools
