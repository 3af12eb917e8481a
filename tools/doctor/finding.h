// What one check of the doctor found.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace orva_accelerator::tools {

// From good to bad: the worst one decides the exit code.
enum class Verdict {
  Ok,
  NotChecked,  // It cannot be told here, or makes no sense at the moment. Nobody's fault.
  Warning,     // Works, but not as delivered or not as safely.
  Problem,     // Keeps the service from working, or hands the PC to ordinary users.
};

struct Finding {
  const char* check;  // A stable name, for programs.
  Verdict verdict = Verdict::Ok;
  std::string text;    // What was found, without full stop.
  std::string advice;  // What to do about it; empty if nothing.
};

using Findings = std::vector<Finding>;

// For the texts of findings; empty when it cannot be had.
std::string utf8(std::wstring_view wide);

// Whether this Win32 error says that there is no such file.
bool isMissing(std::uint32_t code);

// "TEXT (Win32 error CODE)".
std::string withCode(const std::string& text, std::uint32_t code);

// The parts with `separator` between them.
std::string joined(const std::vector<std::string>& parts, const char* separator);

// An advice: run "C:\\folder\\program.exe" WORDS.
std::string runAdvice(std::wstring_view program, std::string_view words);

// "ok", "not checked", "warning", "problem": for programs too; never changes.
const char* verdictName(Verdict verdict);

Verdict worstOf(const Findings& findings);

}  // namespace orva_accelerator::tools
