#include "tools/doctor/registered_path.h"

#include <windows.h>

#include <algorithm>

namespace orva_accelerator::tools {
namespace {

constexpr std::wstring_view kPrefix = L"\\\\?\\";
constexpr std::wstring_view kExtension = L".exe";
// The service cuts its own path there, and then looks for its library in the wrong place.
constexpr std::size_t kPathCapacity = 260;
constexpr std::size_t kLibraryTail = std::size("\\accel_sdk\\sdk_x64\\OpenKernel.dll") - 1;

std::size_t endOfUnquotedPath(std::wstring_view text) {
  for (std::size_t at = 0; at + kExtension.size() <= text.size(); ++at) {
    const std::size_t end = at + kExtension.size();
    const bool ends = end == text.size() || text[end] == L' ' || text[end] == L'\t';
    if (ends && equalIgnoringCase(text.substr(at, kExtension.size()), kExtension)) return end;
  }
  return text.size();
}

bool isBelow(const std::wstring& file, const std::wstring& folder) {
  if (folder.empty() || file.size() <= folder.size() || file[folder.size()] != L'\\') return false;
  return equalIgnoringCase(std::wstring_view(file).substr(0, folder.size()), folder);
}

}  // namespace

RegisteredPath parseRegisteredPath(const std::wstring& registered) {
  RegisteredPath path;
  std::wstring_view text = registered;
  path.quoted = text.starts_with(L'"');
  if (path.quoted) text.remove_prefix(1);
  const std::size_t end =
      path.quoted ? std::min(text.find(L'"'), text.size()) : endOfUnquotedPath(text);
  path.file = text.substr(0, end);
  text.remove_prefix(std::min(text.size(), end + (path.quoted ? 1 : 0)));
  const std::size_t first = text.find_first_not_of(L" \t");
  if (first != std::wstring_view::npos) path.arguments = text.substr(first);
  path.prefixed = path.file.starts_with(kPrefix);
  if (path.prefixed) path.file.erase(0, kPrefix.size());
  return path;
}

std::wstring folderOf(const std::wstring& file) {
  const std::size_t separator = file.find_last_of(L"\\/");
  return separator == std::wstring::npos ? std::wstring() : file.substr(0, separator);
}

Finding checkSpelling(const RegisteredPath& path, const std::vector<std::wstring>& programFiles) {
  Finding finding{"path", Verdict::Ok, utf8(path.file), {}};
  if (folderOf(path.file).size() + kLibraryTail >= kPathCapacity) {
    finding.verdict = Verdict::Problem;
    finding.text += " is too long: the service will not find its library";
    finding.advice = "install it into a folder with a shorter path";
    return finding;
  }
  const bool safe = std::ranges::any_of(
      programFiles, [&](const auto& folder) { return isBelow(path.file, folder); });
  if (!path.quoted && !safe && path.file.find(L' ') != std::wstring::npos) {
    finding.verdict = Verdict::Warning;
    finding.text +=
        " has blanks, no quotes, and is outside Program Files: Windows first tries what is before "
        "a blank, which users may be able to put there";
    finding.advice = "install it into Program Files or into a folder without blanks";
    return finding;
  }
  if (!path.arguments.empty()) {
    finding.verdict = Verdict::Warning;
    finding.text += " is registered with arguments, which the service may take for a command";
    finding.advice = runAdvice(path.file, "update as administrator");
    return finding;
  }
  if (path.quoted) finding.text += " (in quotes)";
  if (path.prefixed) finding.text += " (with the prefix \\\\?\\)";
  return finding;
}

bool equalIgnoringCase(std::wstring_view a, std::wstring_view b) {
  return CompareStringOrdinal(a.data(), static_cast<int>(a.size()), b.data(),
                              static_cast<int>(b.size()), TRUE) == CSTR_EQUAL;
}

std::vector<std::wstring> programFilesFolders() {
  std::vector<std::wstring> folders;
  for (const wchar_t* name : {L"ProgramW6432", L"ProgramFiles", L"ProgramFiles(x86)"}) {
    wchar_t folder[kPathCapacity];
    const DWORD length = GetEnvironmentVariableW(name, folder, kPathCapacity);
    if (length != 0 && length < kPathCapacity) folders.emplace_back(folder, length);
  }
  return folders;
}

}  // namespace orva_accelerator::tools
