#include "tests/tools/orvactl_process.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <sstream>

namespace orva_accelerator::test {
namespace {

std::wstring wide(const std::string& utf8) {
  std::wstring text(utf8.size(), L'\0');
  const int units = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()),
                                        text.data(), static_cast<int>(text.size()));
  text.resize(static_cast<std::size_t>(units));
  return text;
}

std::string narrow(const std::wstring& text) {
  return std::string(text.begin(), text.end());
}

std::vector<std::wstring> wide(const std::vector<std::string>& arguments) {
  std::vector<std::wstring> texts;
  for (const std::string& argument : arguments) texts.push_back(wide(argument));
  return texts;
}

}  // namespace

std::vector<nlohmann::json> OrvactlResult::jsonLines() const {
  std::vector<nlohmann::json> lines;
  std::istringstream stream(out);
  for (std::string line; std::getline(stream, line);) lines.push_back(nlohmann::json::parse(line));
  return lines;
}

OrvactlProcess::OrvactlProcess(const std::vector<std::string>& arguments, const wchar_t* program)
    : process_(shippedFile(program), wide(arguments)) {
  EXPECT_EQ(process_.startError(), 0U);
}

OrvactlResult OrvactlProcess::finish() {
  const std::optional<DWORD> exitCode = process_.wait(3 * kPatience);
  EXPECT_TRUE(exitCode) << "orvactl does not end";
  return {exitCode.value_or(0), process_.output(), process_.errors()};
}

OrvactlResult runOrvactl(const std::vector<std::string>& arguments) {
  return OrvactlProcess(arguments).finish();
}

OrvactlResult runOrvactlDev(const std::vector<std::string>& arguments) {
  return OrvactlProcess(arguments, L"orvactl-dev.exe").finish();
}

std::vector<std::string> asClientOf(const FakeService& service,
                                    std::vector<std::string> arguments) {
  std::vector<std::string> options{"--no-verify-server", "--client-id=7",
                                   "--request-pipe=" + narrow(service.requestPipe()),
                                   "--push-pipe=" + narrow(service.pushPipe())};
  // The machine may be busy with other tests; only a test about a deadline sets one of its own.
  if (std::find(arguments.begin(), arguments.end(), "--timeout") == arguments.end()) {
    options.emplace_back("--timeout=60s");
  }
  arguments.insert(arguments.begin(), options.begin(), options.end());
  return arguments;
}

}  // namespace orva_accelerator::test
