#include "tests/tools/orvactl_process.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <iterator>
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

// Tests run from bin/tests, orvactl from bin.
std::wstring orvactlPath() {
  wchar_t path[1024];
  const DWORD length = GetModuleFileNameW(nullptr, path, 1024);
  EXPECT_TRUE(length > 0 && length < 1024);
  std::wstring folder(path, length);
  for (int up = 0; up < 2; ++up) folder.resize(folder.find_last_of(L'\\'));
  return folder + L"\\orvactl.exe";
}

// No argument of these tests contains quotes or ends with a backslash.
std::wstring commandLine(const std::vector<std::string>& arguments) {
  std::wstring line = L"\"" + orvactlPath() + L"\"";
  for (const std::string& argument : arguments) line += L" \"" + wide(argument) + L"\"";
  return line;
}

std::wstring temporaryPath() {
  static std::atomic<unsigned> count{0};
  wchar_t folder[MAX_PATH + 1];
  const DWORD length = GetTempPathW(MAX_PATH + 1, folder);
  EXPECT_NE(length, 0u) << GetLastError();
  return std::wstring(folder, length) + L"orvactl_" + std::to_wstring(GetCurrentProcessId()) +
         L"_" + std::to_wstring(++count) + L".txt";
}

win32::UniqueFileHandle createInherited(const std::wstring& path) {
  SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
  win32::UniqueFileHandle file(CreateFileW(path.c_str(), GENERIC_WRITE,
                                           FILE_SHARE_READ | FILE_SHARE_DELETE, &inherited,
                                           CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  EXPECT_TRUE(file) << GetLastError();
  return file;
}

std::string contents(const std::wstring& path) {
  std::ifstream file(narrow(path), std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

}  // namespace

std::vector<nlohmann::json> OrvactlResult::jsonLines() const {
  std::vector<nlohmann::json> lines;
  std::istringstream stream(out);
  for (std::string line; std::getline(stream, line);) lines.push_back(nlohmann::json::parse(line));
  return lines;
}

OrvactlProcess::OrvactlProcess(const std::vector<std::string>& arguments)
    : outPath_(temporaryPath()), errPath_(temporaryPath()) {
  const win32::UniqueFileHandle out = createInherited(outPath_);
  const win32::UniqueFileHandle err = createInherited(errPath_);
  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdOutput = out.get();
  startup.hStdError = err.get();
  PROCESS_INFORMATION created{};
  std::wstring line = commandLine(arguments);
  const BOOL started = CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                      nullptr, &startup, &created);
  const DWORD error = GetLastError();
  EXPECT_TRUE(started) << error;
  const win32::UniqueKernelHandle thread(created.hThread);
  process_.reset(created.hProcess);
}

OrvactlProcess::~OrvactlProcess() {
  (void)TerminateProcess(process_.get(), 99);  // Fails for one that has ended, as it should have.
  (void)DeleteFileW(outPath_.c_str());         // What stays behind is in the temporary folder.
  (void)DeleteFileW(errPath_.c_str());
}

OrvactlResult OrvactlProcess::finish() {
  const DWORD limit = static_cast<DWORD>(3 * kPatience.count());
  EXPECT_EQ(WaitForSingleObject(process_.get(), limit), WAIT_OBJECT_0) << "orvactl does not end";
  OrvactlResult result;
  EXPECT_TRUE(GetExitCodeProcess(process_.get(), &result.exitCode));
  result.out = contents(outPath_);
  result.err = contents(errPath_);
  return result;
}

OrvactlResult runOrvactl(const std::vector<std::string>& arguments) {
  return OrvactlProcess(arguments).finish();
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
