// Broken set-ups, and what the doctor says about them.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <iterator>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

#include "service/shared_names.h"
#include "tests/system/service_fixture.h"

namespace orva_accelerator::test {
namespace {

namespace fs = std::filesystem;

constexpr DWORD kWarnings = 7;
constexpr DWORD kProblems = 8;

struct Diagnosis {
  DWORD exitCode = 0;
  std::string output;
  std::map<std::string, nlohmann::json> findings;

  std::string verdict(const std::string& check) const {
    const auto found = findings.find(check);
    return found == findings.end() ? "(absent)" : found->second.at("verdict").get<std::string>();
  }
  std::string text(const std::string& check) const {
    const auto found = findings.find(check);
    return found == findings.end() ? "(absent)" : found->second.at("text").get<std::string>();
  }
};

class Doctor : public ServiceFixture {
 protected:
  static Diagnosis diagnose(std::vector<std::wstring> options = {}) {
    options.insert(options.begin(), {L"doctor", L"--json"});
    const ChildResult result = runChild(shippedFile(L"orvactl.exe"), options);
    EXPECT_TRUE(result.exitCode) << "orvactl does not end";
    EXPECT_EQ(result.errors, "");
    Diagnosis diagnosis;
    diagnosis.exitCode = result.exitCode.value_or(0);
    diagnosis.output = result.output;
    std::istringstream lines(result.output);
    for (std::string line; std::getline(lines, line);) {
      const auto finding = nlohmann::json::parse(line);
      if (finding.contains("check")) diagnosis.findings[finding.at("check")] = finding;
    }
    return diagnosis;
  }

  static void expectProblem(const char* check, const char* words) {
    const Diagnosis diagnosis = diagnose();
    EXPECT_EQ(diagnosis.exitCode, kProblems) << diagnosis.output;
    EXPECT_EQ(diagnosis.verdict(check), "problem") << diagnosis.output;
    EXPECT_NE(diagnosis.text(check).find(words), std::string::npos) << diagnosis.text(check);
    const auto& advice = diagnosis.findings.at(check).at("advice");
    EXPECT_FALSE(advice.get<std::string>().empty());
  }

  fs::path library() const { return folder() / "accel_sdk" / "sdk_x64" / "OpenKernel.dll"; }

  void writeLibrary(const std::string& bytes) const {
    std::ofstream(library(), std::ios::binary | std::ios::trunc) << bytes;
  }
  std::string readLibrary() const {
    std::ifstream file(library(), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
  }
};

TEST_F(Doctor, HasNoProblemWithARunningService) {
  ASSERT_TRUE(startHostApplication());
  ASSERT_TRUE(installAndStart());
  const Diagnosis diagnosis = diagnose();
  for (const char* check :
       {"registered", "deletion", "executable", "library", "start type", "account", "process",
        "state", "request pipe", "push pipe", "heartbeat", "host application"}) {
    EXPECT_EQ(diagnosis.verdict(check), "ok") << diagnosis.output;
  }
  EXPECT_NE(diagnosis.text("heartbeat").find("answered in "), std::string::npos);
  // The test's folder has a blank, and Wine keeps no security.
  EXPECT_EQ(diagnosis.exitCode, kWarnings) << diagnosis.output;
}

TEST_F(Doctor, DoesNotStartAStoppedService) {
  ASSERT_TRUE(install());
  const Diagnosis diagnosis = diagnose();
  EXPECT_EQ(diagnosis.exitCode, kWarnings) << diagnosis.output;
  EXPECT_EQ(diagnosis.verdict("state"), "ok");
  for (const char* check : {"process", "request pipe", "push pipe", "heartbeat"}) {
    EXPECT_EQ(diagnosis.verdict(check), "not checked") << diagnosis.output;
  }
  const auto current = status();
  ASSERT_TRUE(current);
  EXPECT_EQ(current->dwCurrentState, DWORD{SERVICE_STOPPED});
}

TEST_F(Doctor, SaysThatNothingIsInstalled) {
  expectProblem("registered", "not installed");
  EXPECT_EQ(diagnose().findings.at("registered").at("advice"),
            "run \"" + fs::path(shippedFile(L"OrvaAcceleratorService.exe")).string() +
                "\" install as administrator");
}

TEST_F(Doctor, SaysThatTheRegisteredFileIsMissing) {
  ASSERT_EQ(registerPath(L"C:\\elsewhere\\OrvaAcceleratorService.exe", SERVICE_DEMAND_START), 0u);
  expectProblem("executable", "is not there");
}

TEST_F(Doctor, SaysThatAnotherProgramIsRegistered) {
  ASSERT_EQ(registerPath(testFolder() + L"\\idle_program.exe", SERVICE_DEMAND_START), 0u);
  expectProblem("executable", "another program");
}

// The name of a pipe of the service is in orvactl too.
TEST_F(Doctor, SaysThatTheToolIsRegisteredAsTheService) {
  ASSERT_EQ(registerPath(shippedFile(L"orvactl.exe"), SERVICE_DEMAND_START), 0u);
  expectProblem("executable", "another program");
}

TEST_F(Doctor, NamesTheVersions) {
  ASSERT_TRUE(install());
  const Diagnosis diagnosis = diagnose();
  const std::string versions = diagnosis.text("versions");
  EXPECT_EQ(versions.find("service " ORVA_VERSION ".0, library " ORVA_VERSION
                          ".0 (simulated), orvactl " ORVA_VERSION ", Windows "),
            0u)
      << versions;
  EXPECT_TRUE(std::isdigit(static_cast<unsigned char>(versions.back()))) << versions;
}

TEST_F(Doctor, NamesALibraryThatTheLibraryNeeds) {
  ASSERT_TRUE(install());
  std::string bytes = readLibrary();
  // Everything imports from it, under whatever spelling.
  const auto found = std::ranges::search(bytes, std::string_view("KERNEL32.dll"));
  ASSERT_FALSE(found.empty());
  std::ranges::copy(std::string_view("ABSENT32.dll"), found.begin());
  writeLibrary(bytes);
  expectProblem("library", "it needs absent32.dll, which is neither");
}

TEST_F(Doctor, SaysThatTheLibraryIsMissing) {
  ASSERT_TRUE(install());
  ASSERT_TRUE(fs::remove(library()));
  expectProblem("library", "is not there");
}

TEST_F(Doctor, SaysThatTheLibraryIsNotALibrary) {
  ASSERT_TRUE(install());
  writeLibrary("This is no library.");
  expectProblem("library", "cannot be loaded");
  writeLibrary("");
  expectProblem("library", "it is empty");
}

TEST_F(Doctor, SaysThatTheLibraryIsTruncated) {
  ASSERT_TRUE(install());
  const std::string whole = readLibrary();
  writeLibrary(whole.substr(0, 600));
  expectProblem("library", "the file ends too early");
}

TEST_F(Doctor, SaysThatTheLibraryIsFor32Bit) {
  ASSERT_TRUE(install());
  std::string bytes = readLibrary();
  const auto header = static_cast<unsigned char>(bytes.at(0x3C)) +
                      std::size_t{256} * static_cast<unsigned char>(bytes.at(0x3D));
  bytes.at(header + 4) = '\x4C';  // IMAGE_FILE_MACHINE_I386, 0x014C.
  bytes.at(header + 5) = '\x01';
  writeLibrary(bytes);
  expectProblem("library", "not made for 64-bit");
}

TEST_F(Doctor, NamesTheFunctionsThatTheLibraryLacks) {
  ASSERT_TRUE(install());
  fs::copy_file(shippedFile(L"variants\\OpenKernelWithoutInit.dll"), library(),
                fs::copy_options::overwrite_existing);
  expectProblem("library", "lacks 1 of 101 functions: Kernel_Init");
}

TEST_F(Doctor, SaysThatTheServiceIsDisabled) {
  ASSERT_EQ(registerPath(executable().wstring(), SERVICE_DISABLED), 0u);
  expectProblem("start type", "disabled");
}

TEST_F(Doctor, WarnsOfAnAutomaticStart) {
  ASSERT_EQ(registerPath(executable().wstring(), SERVICE_AUTO_START), 0u);
  EXPECT_EQ(diagnose().verdict("start type"), "warning");
}

TEST_F(Doctor, WarnsOfBlanksWithoutQuotes) {
  ASSERT_TRUE(install());
  EXPECT_EQ(diagnose().verdict("path"), "warning");
}

// Somebody who had the name before the service. Wine lets the same process serve both.
TEST_F(Doctor, SaysThatAnotherProcessServesThePipe) {
  ASSERT_TRUE(install());
  const std::wstring name = L"\\\\.\\pipe\\OrvaTest_squatter_" + std::to_wstring(GetTickCount64());
  const win32::UniqueFileHandle squatter(CreateNamedPipeW(
      name.c_str(), PIPE_ACCESS_DUPLEX, PIPE_TYPE_MESSAGE, 2, 4096, 4096, 0, nullptr));
  ASSERT_TRUE(squatter) << GetLastError();
  const Diagnosis diagnosis = diagnose({L"--request-pipe", name});
  EXPECT_EQ(diagnosis.exitCode, kProblems);
  EXPECT_EQ(diagnosis.verdict("request pipe"), "problem") << diagnosis.output;
  EXPECT_NE(diagnosis.text("request pipe").find("process " + std::to_string(GetCurrentProcessId())),
            std::string::npos);
  EXPECT_EQ(diagnosis.verdict("heartbeat"), "not checked");
}

TEST_F(Doctor, SaysThatARunningServiceDoesNotServeThePipe) {
  ASSERT_TRUE(startHostApplication());
  ASSERT_TRUE(installAndStart());
  const Diagnosis diagnosis =
      diagnose({L"--push-pipe", L"\\\\.\\pipe\\OrvaTest_nobody_here", L"--timeout", L"100ms"});
  EXPECT_EQ(diagnosis.exitCode, kProblems);
  EXPECT_EQ(diagnosis.verdict("push pipe"), "problem") << diagnosis.output;
}

TEST_F(Doctor, TakesAKilledServiceForStopped) {
  ASSERT_TRUE(startHostApplication());
  ASSERT_TRUE(installAndStart());
  ASSERT_TRUE(TerminateProcess(process(), 9)) << GetLastError();
  ASSERT_TRUE(waitForEnd());
  const Diagnosis diagnosis = diagnose();
  EXPECT_EQ(diagnosis.verdict("state"), "ok") << diagnosis.output;
  EXPECT_EQ(diagnosis.text("state").find("stopped"), 0u) << diagnosis.output;
  EXPECT_EQ(diagnosis.verdict("request pipe"), "not checked");
}

// The manager's note of a deletion that waits, as Windows writes it.
TEST_F(Doctor, SaysThatTheServiceIsMarkedForDeletion) {
  ASSERT_TRUE(install());
  const std::wstring key =
      std::wstring(L"SYSTEM\\CurrentControlSet\\Services\\") + service::kServiceName;
  const DWORD flag = 1;
  ASSERT_EQ(RegSetKeyValueW(HKEY_LOCAL_MACHINE, key.c_str(), L"DeleteFlag", REG_DWORD, &flag,
                            sizeof(flag)),
            0);
  expectProblem("deletion", "1072");
}

TEST_F(Doctor, SpeaksToPeople) {
  ASSERT_TRUE(install());
  ASSERT_TRUE(fs::remove(library()));
  const ChildResult result = runChild(shippedFile(L"orvactl.exe"), {L"doctor"});
  EXPECT_EQ(result.exitCode, kProblems);
  EXPECT_NE(result.output.find("ok           registered        the service is registered\n"),
            std::string::npos)
      << result.output;
  EXPECT_NE(result.output.find("problem      library "), std::string::npos) << result.output;
  EXPECT_NE(result.output.find("-> install this version's library as " + library().string() + "\n"),
            std::string::npos)
      << result.output;
  EXPECT_NE(result.output.find("\nProblems: 1, warnings: "), std::string::npos) << result.output;
}

}  // namespace
}  // namespace orva_accelerator::test
