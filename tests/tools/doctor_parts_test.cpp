// The doctor's judgements on made-up facts.
#include <gtest/gtest.h>
#include <windows.h>

#include <sddl.h>

#include "service/shared_names.h"
#include "tools/doctor/access_list.h"
#include "tools/doctor/registered_path.h"
#include "tools/doctor/registration_checks.h"
#include "tools/doctor/security_differences.h"
#include "win32/unique_handle.h"

namespace orva_accelerator::test {
namespace {

using namespace tools;

class Descriptor {
 public:
  explicit Descriptor(const wchar_t* text) {
    PSECURITY_DESCRIPTOR converted = nullptr;
    EXPECT_TRUE(ConvertStringSecurityDescriptorToSecurityDescriptorW(text, SDDL_REVISION_1,
                                                                     &converted, nullptr))
        << GetLastError();
    memory_.reset(converted);
  }
  PSECURITY_DESCRIPTOR get() const { return memory_.get(); }
  std::vector<std::uint8_t> bytes() const {
    const auto* first = static_cast<const std::uint8_t*>(memory_.get());
    return {first, first + GetSecurityDescriptorLength(memory_.get())};
  }

 private:
  win32::UniqueLocalMemory memory_;
};

ServiceFacts withSecurity(const wchar_t* text) {
  ServiceFacts facts;
  facts.security = Descriptor(text).bytes();
  return facts;
}

TEST(RegisteredPath, IsTakenApart) {
  const auto plain = parseRegisteredPath(L"C:\\Program Files\\Orva\\Service.exe");
  EXPECT_EQ(plain.file, L"C:\\Program Files\\Orva\\Service.exe");
  EXPECT_EQ(plain.arguments, L"");
  EXPECT_FALSE(plain.quoted);
  const auto quoted = parseRegisteredPath(L"\"C:\\A b\\Service.exe\"  run it");
  EXPECT_EQ(quoted.file, L"C:\\A b\\Service.exe");
  EXPECT_EQ(quoted.arguments, L"run it");
  EXPECT_TRUE(quoted.quoted);
  const auto prefixed = parseRegisteredPath(L"\\\\?\\C:\\Orva\\SERVICE.EXE run");
  EXPECT_EQ(prefixed.file, L"C:\\Orva\\SERVICE.EXE");
  EXPECT_EQ(prefixed.arguments, L"run");
  EXPECT_TRUE(prefixed.prefixed);
  EXPECT_EQ(parseRegisteredPath(L"\"C:\\open").file, L"C:\\open");
  EXPECT_EQ(parseRegisteredPath(L"").file, L"");
}

Verdict spelling(const wchar_t* registered) {
  return checkSpelling(parseRegisteredPath(registered), {L"C:\\Program Files"}).verdict;
}

TEST(RegisteredPath, IsSafeOnlyWithoutBlanksThatUsersCanUse) {
  EXPECT_EQ(spelling(L"C:\\Program Files\\Orva\\Service.exe"), Verdict::Ok);
  EXPECT_EQ(spelling(L"c:\\program files\\Orva Two\\Service.exe"), Verdict::Ok);
  EXPECT_EQ(spelling(L"D:\\Orva\\Service.exe"), Verdict::Ok);
  EXPECT_EQ(spelling(L"\"D:\\Some Folder\\Service.exe\""), Verdict::Ok);
  EXPECT_EQ(spelling(L"D:\\Some Folder\\Service.exe"), Verdict::Warning);
  EXPECT_EQ(spelling(L"C:\\Program Files of mine\\Service.exe"), Verdict::Warning);
  EXPECT_EQ(spelling(L"D:\\Orva\\Service.exe run"), Verdict::Warning);
}

TEST(RegisteredPath, IsAProblemWhenItsLibraryCannotBeNamed) {
  const std::wstring tail = L"\\accel_sdk\\sdk_x64\\OpenKernel.dll";
  const std::wstring longest = L"D:\\" + std::wstring(259 - 3 - tail.size(), L'x');
  EXPECT_EQ(spelling((longest + L"\\Service.exe").c_str()), Verdict::Ok);
  EXPECT_EQ(spelling((longest + L"x\\Service.exe").c_str()), Verdict::Problem);
}

TEST(StartType, IsJudged) {
  const auto verdict = [](DWORD type) {
    return checkStartType(ServiceConfig{L"", L"", SERVICE_WIN32_OWN_PROCESS, type}).verdict;
  };
  EXPECT_EQ(verdict(SERVICE_DEMAND_START), Verdict::Ok);
  EXPECT_EQ(verdict(SERVICE_AUTO_START), Verdict::Warning);
  EXPECT_EQ(verdict(SERVICE_DISABLED), Verdict::Problem);
  EXPECT_EQ(verdict(SERVICE_BOOT_START), Verdict::Problem);
}

TEST(Account, IsJudged) {
  const auto verdict = [](const wchar_t* account, DWORD type) {
    return checkAccount(ServiceConfig{L"", account, type, SERVICE_DEMAND_START}).verdict;
  };
  EXPECT_EQ(verdict(L"LocalSystem", SERVICE_WIN32_OWN_PROCESS), Verdict::Ok);
  EXPECT_EQ(verdict(L"", SERVICE_WIN32_OWN_PROCESS), Verdict::Ok);
  EXPECT_EQ(verdict(L"NT AUTHORITY\\LocalService", SERVICE_WIN32_OWN_PROCESS), Verdict::Problem);
  EXPECT_EQ(verdict(L"LocalSystem", SERVICE_WIN32_SHARE_PROCESS), Verdict::Problem);
}

TEST(Security, IsFineAsInstalledInWhateverSpelling) {
  EXPECT_EQ(checkSecurity(withSecurity(service::kServiceSecurity), false).verdict, Verdict::Ok);
  // As the system writes the same.
  EXPECT_EQ(checkSecurity(withSecurity(L"D:(A;;CCLCRPWPRC;;;AU)(A;;CCLCSWRPWPDTLOCRRC;;;SY)"
                                       L"(A;;CCDCLCSWRPWPDTLOCRSDRCWDWO;;;BA)"),
                          false)
                .verdict,
            Verdict::Ok);
}

TEST(Security, NamesTheClausesThatDiffer) {
  const Finding finding = checkSecurity(
      withSecurity(L"D:(A;;CCLCSWRPWPDTLOCRRC;;;SY)(A;;CCDCLCSWRPWPDTLOCRSDRCWDWO;;;BA)"
                   L"(A;;CCLCRC;;;AU)"),
      false);
  EXPECT_EQ(finding.verdict, Verdict::Warning);
  EXPECT_NE(finding.text.find("missing: allow S-1-5-11 (Authenticated Users) 0x20035"),
            std::string::npos)
      << finding.text;
  EXPECT_NE(finding.text.find("added: allow S-1-5-11 (Authenticated Users) 0x20005"),
            std::string::npos)
      << finding.text;
}

TEST(Security, IsAProblemWhenUsersMayReconfigure) {
  const std::wstring ours = service::kServiceSecurity;
  EXPECT_EQ(checkSecurity(withSecurity((ours + L"(A;;DC;;;BU)").c_str()), false).verdict,
            Verdict::Problem);
  EXPECT_EQ(checkSecurity(withSecurity((ours + L"(A;;WD;;;WD)").c_str()), false).verdict,
            Verdict::Problem);
  EXPECT_EQ(checkSecurity(withSecurity((ours + L"(A;;DC;;;SY)").c_str()), false).verdict,
            Verdict::Warning);
}

TEST(Security, CannotBeVerifiedWithoutAList) {
  EXPECT_EQ(checkSecurity(withSecurity(L"D:"), true).verdict, Verdict::Warning);
  ServiceFacts withheld;
  withheld.securityError = ERROR_ACCESS_DENIED;
  EXPECT_EQ(checkSecurity(withheld, false).verdict, Verdict::Warning);
}

TEST(State, IsFineWhenStoppedWhateverTheManagerCallsIt) {
  ServiceFacts facts;
  facts.status = SERVICE_STATUS_PROCESS{};
  facts.status->dwCurrentState = SERVICE_STOPPED;
  facts.status->dwWin32ExitCode = ERROR_PROCESS_ABORTED;
  EXPECT_EQ(checkState(facts).verdict, Verdict::Ok);
  facts.status->dwWin32ExitCode = ERROR_ACCESS_DENIED;
  EXPECT_EQ(checkState(facts).verdict, Verdict::Warning);
  facts.status->dwCurrentState = SERVICE_RUNNING;
  EXPECT_EQ(checkState(facts).text.find("stopped"), 0u);
  facts.processLives = true;
  EXPECT_EQ(checkState(facts).text.find("running"), 0u);
  facts.status->dwCurrentState = SERVICE_STOP_PENDING;
  EXPECT_EQ(checkState(facts).verdict, Verdict::Warning);
}

std::uint32_t ordinaryRights(const wchar_t* text) {
  return rightsOfOrdinaryUsers(readAccessList(Descriptor(text).get()));
}

TEST(AccessList, GivesOrdinaryUsersWhatTheirGroupsGet) {
  EXPECT_EQ(ordinaryRights(L"D:(A;;0x1200a9;;;BU)(A;;FA;;;BA)(A;;FA;;;SY)"), 0x1200a9u);
  EXPECT_EQ(ordinaryRights(L"D:(A;;0x2;;;AU)(A;;0x4;;;WD)(A;;0x8;;;IU)"), 0xeu);
  EXPECT_EQ(ordinaryRights(L"D:(D;;0x2;;;BU)(A;;0x6;;;AU)"), 0x4u);
  EXPECT_EQ(ordinaryRights(L"D:(A;;0x6;;;AU)(D;;0x2;;;BU)"), 0x6u);
  EXPECT_EQ(ordinaryRights(L"D:(A;OICIIO;FA;;;BU)"), 0u) << "for what is created later";
  EXPECT_EQ(ordinaryRights(L"D:"), 0u);
  EXPECT_EQ(ordinaryRights(L"O:BA"), 0xFFFFFFFFu) << "no list: everything";
}

}  // namespace
}  // namespace orva_accelerator::test
