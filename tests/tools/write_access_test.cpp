// What the doctor makes of owners and access lists, some of them hostile.
#include <gtest/gtest.h>

#include <cstring>

#include "tests/tools/descriptor.h"
#include "tools/doctor/access_list.h"
#include "tools/doctor/write_access.h"

namespace orva_accelerator::test {
namespace {

using namespace tools;

// TrustedInstaller, and somebody who was given a right.
constexpr wchar_t kInstaller[] = L"S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478464";

std::optional<Finding> trouble(const std::wstring& text, Place place = Place::Own) {
  return accessTrouble(L"C:\\Orva\\a b.dll", place, Descriptor(text.c_str()).bytes());
}

bool isSafe(const std::wstring& text, Place place = Place::Own) {
  const auto found = trouble(text, place);
  EXPECT_TRUE(!found || found->verdict == Verdict::Problem) << found->text;
  return !found;
}

TEST(WriteAccess, IsFineInProgramFiles) {
  EXPECT_TRUE(isSafe(std::wstring(L"O:") + kInstaller + L"D:PAI(A;OICIIO;GA;;;CO)(A;;FA;;;" +
                     kInstaller +
                     L")(A;;0x1301bf;;;SY)(A;;0x1301bf;;;BA)(A;;0x1200a9;;;BU)"
                     L"(A;;0x1200a9;;;AC)"));
  EXPECT_TRUE(isSafe(L"O:SYD:(A;;FA;;;SY)(A;;0x1200a9;;;WD)"));
}

TEST(WriteAccess, IsAProblemForWhoeverElseMayWrite) {
  // Everyone, Users, a named user, Domain Users, a group of one's own, a group of the domain.
  for (const wchar_t* who : {L"WD", L"BU", L"S-1-5-21-1-2-3-1001", L"S-1-5-21-1-2-3-513",
                             L"S-1-5-21-1-2-3-2002", L"S-1-5-32-547"}) {
    // Data, append, delete a child, delete, the list, the owner, all generic ones.
    for (const wchar_t* right : {L"0x2", L"0x4", L"0x40", L"SD", L"WD", L"WO", L"GW", L"GA"}) {
      const auto found =
          trouble(std::wstring(L"O:BAD:(A;;FA;;;SY)(A;;") + right + L";;;" + who + L")");
      ASSERT_TRUE(found);
      EXPECT_EQ(found->verdict, Verdict::Problem);
      EXPECT_NE(found->advice.find("icacls \"C:\\Orva\\a b.dll\""), std::string::npos);
    }
  }
  EXPECT_NE(trouble(L"O:BAD:(A;;FA;;;S-1-5-21-1-2-3-1001)")->text.find("S-1-5-21-1-2-3-1001"),
            std::string::npos);
  EXPECT_FALSE(isSafe(L"O:BA")) << "no list: everything to everybody";
  EXPECT_TRUE(isSafe(L"O:BAD:")) << "an empty list: nothing to nobody";
}

TEST(WriteAccess, IsAProblemForAnOwnerWhoIsNotToBeTrusted) {
  const auto found = trouble(L"O:S-1-5-21-1-2-3-1001D:(A;;FA;;;SY)");
  ASSERT_TRUE(found);
  EXPECT_EQ(found->verdict, Verdict::Problem);
  EXPECT_NE(found->text.find("belongs to S-1-5-21-1-2-3-1001"), std::string::npos) << found->text;
  EXPECT_FALSE(isSafe(L"D:(A;;FA;;;SY)")) << "no owner";
}

TEST(WriteAccess, CountsADenialOnlyForTheSameAccountOrAll) {
  EXPECT_TRUE(isSafe(L"O:BAD:(D;;0x2;;;BU)(A;;0x2;;;BU)"));
  EXPECT_TRUE(isSafe(L"O:BAD:(D;;0x2;;;WD)(A;;0x2;;;BU)"));
  EXPECT_FALSE(isSafe(L"O:BAD:(D;;0x2;;;BU)(A;;0x2;;;AU)")) << "not all of them are Users";
  EXPECT_FALSE(isSafe(L"O:BAD:(D;;0x2;;;BU)(A;;0x6;;;BU)"));
  EXPECT_FALSE(isSafe(L"O:BAD:(A;;0x2;;;BU)(D;;0x2;;;BU)")) << "too late";
  EXPECT_FALSE(isSafe(L"O:BAD:(D;IOOI;0x2;;;BU)(A;;0x2;;;BU)")) << "for what is created later";
}

TEST(WriteAccess, AllowsOthersToCreateButNotToRenameInFoldersAbove) {
  // As on the system's drive.
  const std::wstring drive = L"O:" + std::wstring(kInstaller) + L"D:(A;;0x4;;;AU)(A;;FA;;;BA)";
  EXPECT_TRUE(isSafe(drive, Place::Above));
  EXPECT_TRUE(isSafe(drive, Place::Root));
  EXPECT_FALSE(isSafe(drive, Place::Own));
  EXPECT_FALSE(isSafe(L"O:BAD:(A;;0x1301bf;;;AU)", Place::Above)) << "renaming it";
  EXPECT_TRUE(isSafe(L"O:BAD:(A;;0x1301bf;;;AU)", Place::Root)) << "a root has no name";
  EXPECT_FALSE(isSafe(L"O:BAD:(A;;0x40;;;AU)", Place::Root)) << "deleting what is below";
}

TEST(WriteAccess, IsAWarningWhenTheListIsDamaged) {
  auto bytes = Descriptor(L"O:BAD:(A;;FA;;;BU)").bytes();
  bytes.resize(bytes.size() - 1);
  const auto found = accessTrouble(L"C:\\a", Place::Own, bytes);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->verdict, Verdict::Warning);
}

TEST(Security, IsReadWithinItsBytes) {
  const auto whole = Descriptor(L"O:BAD:(A;;0x2;;;AU)(D;;0x4;;;S-1-5-21-1-2-3-1001)").bytes();
  const auto security = readSecurity(whole);
  ASSERT_TRUE(security);
  EXPECT_EQ(security->owner, L"S-1-5-32-544");
  EXPECT_EQ(*security->list,
            (std::vector<AccessClause>{{ACCESS_ALLOWED_ACE_TYPE, 0, 2, L"S-1-5-11"},
                                       {ACCESS_DENIED_ACE_TYPE, 0, 4, L"S-1-5-21-1-2-3-1001"}}));
  for (std::size_t size = 0; size < whole.size(); ++size) {
    // A buffer of exactly that size, so that a guarded heap notices the first byte too many.
    const std::vector<std::uint8_t> part(whole.begin(),
                                         whole.begin() + static_cast<std::ptrdiff_t>(size));
    EXPECT_FALSE(readSecurity(part)) << size;
  }
  for (std::size_t at = 0; at < whole.size(); ++at) {
    for (const int lie : {0x00, 0x0F, 0x7F, 0x80, 0xFF}) {
      auto lying = whole;
      lying[at] = static_cast<std::uint8_t>(lie);
      (void)readSecurity(lying);
    }
  }
}

// Where the only entry of the list begins in what the system makes of such a text.
std::size_t entryOf(const std::vector<std::uint8_t>& descriptor) {
  SECURITY_DESCRIPTOR_RELATIVE start{};
  std::memcpy(&start, descriptor.data(), sizeof(start));
  return start.Dacl + sizeof(ACL);
}

TEST(Security, IsDamagedByAnIdentifierLongerThanItsEntry) {
  // The second entry is long enough for both: only the length of the first one tells.
  auto bytes = Descriptor(L"O:BAD:(A;;0x2;;;AU)(A;;0x2;;;S-1-5-21-1-2-3-1001)").bytes();
  ASSERT_TRUE(readSecurity(bytes));
  bytes.at(entryOf(bytes) + 9) = 3;  // The count of parts, which was 1.
  EXPECT_FALSE(readSecurity(bytes));
  bytes.at(entryOf(bytes) + 9) = 255;
  EXPECT_FALSE(readSecurity(bytes));
}

TEST(Security, IsDamagedByEntriesWithoutLength) {
  auto bytes = Descriptor(L"O:BAD:(A;;0x2;;;AU)").bytes();
  bytes.at(entryOf(bytes) + 2) = 0;
  EXPECT_FALSE(readSecurity(bytes));
  // 65,535 of them.
  bytes.at(entryOf(bytes) - 4) = 0xFF;
  bytes.at(entryOf(bytes) - 3) = 0xFF;
  EXPECT_FALSE(readSecurity(bytes));
}

TEST(Security, CountsAClauseThatNamesNobodyAsSomebody) {
  auto bytes = Descriptor(L"O:BAD:(A;;0x2;;;SY)").bytes();
  bytes.at(entryOf(bytes)) = ACCESS_ALLOWED_OBJECT_ACE_TYPE;
  const auto found = accessTrouble(L"C:\\a", Place::Own, bytes);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->verdict, Verdict::Problem);
}

}  // namespace
}  // namespace orva_accelerator::test
