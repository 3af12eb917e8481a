#include "tests/support/child_process.h"

#include <atomic>

#include "tests/support/process_start.h"

namespace orva_accelerator::test {
namespace {

// Backslashes count only in front of a quotation mark, where each needs another one.
std::wstring quotedArgument(std::wstring_view argument) {
  std::wstring line = L"\"";
  std::size_t backslashes = 0;
  for (const wchar_t c : argument) {
    if (c == L'\\') {
      ++backslashes;
      continue;
    }
    line.append(c == L'"' ? backslashes * 2 + 1 : backslashes, L'\\');
    backslashes = 0;
    line += c;
  }
  line.append(backslashes * 2, L'\\');
  return line + L'"';
}

std::wstring temporaryFile(const wchar_t* ending) {
  static std::atomic<unsigned> count{0};
  wchar_t folder[MAX_PATH + 1] = L"";
  (void)GetTempPathW(MAX_PATH + 1, folder);  // Without one the current folder does as well.
  return std::wstring(folder) + L"OrvaTest_" + std::to_wstring(GetCurrentProcessId()) + L"_" +
         std::to_wstring(++count) + ending;
}

win32::UniqueFileHandle openForChild(const std::wstring& name, DWORD access, DWORD disposition) {
  SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
  return win32::UniqueFileHandle(
      CreateFileW(name.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                  &inheritable, disposition, FILE_ATTRIBUTE_NORMAL, nullptr));
}

std::string contentOf(const std::wstring& name) {
  const win32::UniqueFileHandle file(CreateFileW(
      name.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  std::string content;
  if (!file) return content;
  char piece[4096];
  DWORD read = 0;
  while (ReadFile(file.get(), piece, sizeof piece, &read, nullptr) && read != 0) {
    content.append(piece, read);
  }
  return content;
}

// A job that takes its processes with it, so that nothing outlives a test that crashes.
win32::UniqueKernelHandle createJob() {
  win32::UniqueKernelHandle job(CreateJobObjectW(nullptr, nullptr));
  if (!job) return job;
  JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
  limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
  // Without the limit kill() still does its work.
  (void)SetInformationJobObject(job.get(), JobObjectExtendedLimitInformation, &limits,
                                sizeof limits);
  return job;
}

}  // namespace

std::wstring testFolder() {
  wchar_t path[MAX_PATH] = L"";
  const DWORD length = GetModuleFileNameW(nullptr, path, MAX_PATH);
  const std::wstring whole(path, length);
  return whole.substr(0, whole.find_last_of(L"\\/"));
}

std::wstring shippedFile(std::wstring_view relativePath) {
  const std::wstring tests = testFolder();
  return tests.substr(0, tests.find_last_of(L"\\/") + 1).append(relativePath);
}

ChildProcess::ChildProcess(const std::wstring& program, const std::vector<std::wstring>& arguments,
                           const std::wstring& folder)
    : outputFile_(temporaryFile(L".out")), errorFile_(temporaryFile(L".err")), job_(createJob()) {
  std::wstring line = quotedArgument(program);
  for (const std::wstring& argument : arguments) line += L' ' + quotedArgument(argument);

  const auto input = openForChild(L"NUL", GENERIC_READ, OPEN_EXISTING);
  const auto output = openForChild(outputFile_, GENERIC_WRITE, CREATE_ALWAYS);
  const auto errors = openForChild(errorFile_, GENERIC_WRITE, CREATE_ALWAYS);
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = input.get();
  startup.hStdOutput = output.get();
  startup.hStdError = errors.get();

  PROCESS_INFORMATION information{};
  // Suspended until it belongs to the job, so that whatever it starts belongs to it too.
  startError_ = startProcess(program, line, CREATE_SUSPENDED, folder, startup, information);
  if (startError_ != 0) return;
  process_.reset(information.hProcess);
  id_ = information.dwProcessId;
  const win32::UniqueKernelHandle thread(information.hThread);
  if (!job_ || !AssignProcessToJobObject(job_.get(), process_.get())) {
    startError_ = GetLastError();
    kill();
    return;
  }
  if (ResumeThread(thread.get()) == static_cast<DWORD>(-1)) {
    startError_ = GetLastError();
    kill();
  }
}

ChildProcess::~ChildProcess() {
  kill();
  // A file that is still in use stays; the system clears its temporary folder some day.
  (void)DeleteFileW(outputFile_.c_str());
  (void)DeleteFileW(errorFile_.c_str());
}

std::optional<DWORD> ChildProcess::wait(std::chrono::milliseconds limit) {
  if (!process_) return std::nullopt;
  if (WaitForSingleObject(process_.get(), static_cast<DWORD>(limit.count())) != WAIT_OBJECT_0) {
    return std::nullopt;
  }
  DWORD code = 0;
  if (!GetExitCodeProcess(process_.get(), &code)) return std::nullopt;
  return code;
}

std::string ChildProcess::output() const {
  return contentOf(outputFile_);
}

std::string ChildProcess::errors() const {
  return contentOf(errorFile_);
}

bool ChildProcess::waitForOutput(std::string_view text, std::chrono::milliseconds limit) {
  return waitUntil([&] { return output().find(text) != std::string::npos; }, limit);
}

void ChildProcess::kill() {
  if (!process_) return;
  // Both fail for what has ended already.
  if (job_) (void)TerminateJobObject(job_.get(), 1);
  (void)TerminateProcess(process_.get(), 1);
  (void)WaitForSingleObject(process_.get(), static_cast<DWORD>(kPatience.count()));
}

ChildResult runChild(const std::wstring& program, const std::vector<std::wstring>& arguments,
                     std::chrono::milliseconds limit) {
  ChildProcess child(program, arguments);
  ChildResult result;
  if (child.startError() != 0) {
    result.errors = "cannot be started, error " + std::to_string(child.startError());
    return result;
  }
  result.exitCode = child.wait(limit);
  if (!result.exitCode) child.kill();
  result.output = child.output();
  result.errors = child.errors();
  return result;
}

}  // namespace orva_accelerator::test
