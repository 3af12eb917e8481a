// The doctor's judgements on made-up facts.
#include <gtest/gtest.h>

#include "service/shared_names.h"
#include "tests/tools/descriptor.h"
#include "tools/doctor/registered_path.h"
#include "tools/doctor/registration_checks.h"

namespace orva_accelerator::test {
namespace {

using namespace tools;

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
    ServiceFacts facts;
    facts.config = ServiceConfig{L"", L"", SERVICE_WIN32_OWN_PROCESS, type};
    return checkStartType(facts).verdict;
  };
  EXPECT_EQ(verdict(SERVICE_DEMAND_START), Verdict::Ok);
  EXPECT_EQ(verdict(SERVICE_AUTO_START), Verdict::Warning);
  EXPECT_EQ(verdict(SERVICE_DISABLED), Verdict::Problem);
  EXPECT_EQ(verdict(SERVICE_BOOT_START), Verdict::Problem);
}

TEST(Account, IsJudged) {
  const auto verdict = [](const wchar_t* account, DWORD type) {
    ServiceFacts facts;
    facts.config = ServiceConfig{L"", account, type, SERVICE_DEMAND_START};
    return checkAccount(facts).verdict;
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

TEST(Security, IsAProblemWhenOthersMayReconfigure) {
  const std::wstring ours = service::kServiceSecurity;
  EXPECT_EQ(
      checkSecurity(withSecurity((ours + L"(A;;DC;;;S-1-5-21-1-2-3-1001)").c_str()), false).verdict,
      Verdict::Problem);
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

}  // namespace
}  // namespace orva_accelerator::test
