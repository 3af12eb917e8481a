#include "tools/doctor/finding.h"

#include <windows.h>

#include <algorithm>

#include "win32/utf8.h"

namespace orva_accelerator::tools {

std::string utf8(std::wstring_view wide) {
  return win32::utf8FromWide(wide).value_or(std::string());
}

std::string withCode(const std::string& text, std::uint32_t code) {
  return text + " (Win32 error " + std::to_string(code) + ")";
}

std::string joined(const std::vector<std::string>& parts, const char* separator) {
  std::string text;
  for (const std::string& part : parts) text += (text.empty() ? "" : separator) + part;
  return text;
}

std::string runAdvice(std::wstring_view program, std::string_view words) {
  return "run \"" + utf8(program) + "\" " + std::string(words);
}

bool isMissing(std::uint32_t code) {
  return code == ERROR_FILE_NOT_FOUND || code == ERROR_PATH_NOT_FOUND;
}

const char* verdictName(Verdict verdict) {
  switch (verdict) {
    case Verdict::Ok:
      return "ok";
    case Verdict::NotChecked:
      return "not checked";
    case Verdict::Warning:
      return "warning";
    case Verdict::Problem:
      return "problem";
  }
  return "problem";
}

Verdict worstOf(const Findings& findings) {
  Verdict worst = Verdict::Ok;
  for (const Finding& finding : findings) worst = std::max(worst, finding.verdict);
  return worst;
}

}  // namespace orva_accelerator::tools
