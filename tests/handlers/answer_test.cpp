// As what is shipped: without the assertion that an answer is filled.
#include "handlers/answer.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <memory>
#include <new>

#include "tests/support/golden_vectors.h"
#include "tests/support/import_patch.h"

namespace orva_accelerator::ipc {
namespace {

using test::Bytes;

Bytes bytesOf(Answer answer) {
  const std::uint32_t length = answer.length();
  const std::unique_ptr<std::uint8_t[]> owned(answer.release());
  return {owned.get(), owned.get() + length};
}

GameLastAccelInfoResponse lastAccel() {
  GameLastAccelInfoResponse record = {1, 0x0A0B0C0D, 0x11, 0, 0x56};
  record.infoTextLength = 0x7777;  // Not looked at.
  return record;
}

TEST(Answer, IsTheRecordAndItsTextsWithTheirLengths) {
  EXPECT_EQ(bytesOf(Answer::of(lastAccel(), L"m\u6E38", L"k")),
            (Bytes{1, 0,    0, 0, 0x0D, 0x0C, 0x0B, 0x0A, 0x11, 0,   0,    0,    0,    0,  0,
                   0, 0x56, 0, 0, 0,    4,    0,    1,    0,    'm', 0xE6, 0xB8, 0xB8, 'k'}));
}

TEST(Answer, HasLengthZeroForATextThatIsNone) {
  const Bytes bytes = bytesOf(Answer::of(lastAccel(), L"", L"key"));
  EXPECT_EQ(Bytes(bytes.begin() + 20, bytes.end()), (Bytes{0, 0, 3, 0, 'k', 'e', 'y'}));
}

TEST(Answer, OfSeveralRecordsHasThemOneBehindTheOther) {
  Answer answer(sizeof(UsedNodeListResponse) + Answer::sizeOf<UsedNodeBlock>(L"ab", L"c"));
  answer.append(UsedNodeListResponse{1, 1});
  answer.append(UsedNodeBlock{.used1 = 2, .used2 = 3, .used3 = 4, .used4 = 5}, L"ab", L"c");
  EXPECT_EQ(bytesOf(std::move(answer)),
            (Bytes{1, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0, 4, 0, 0,   0,   0,  0,
                   0, 0, 5, 0, 0, 0, 0, 0, 0, 0, 2, 0, 1, 0, 0, 0, 0, 0, 'a', 'b', 'c'}));
}

// Three million nodes with the longest texts would be one.
TEST(Answer, ThrowsForALengthThatItsFieldCannotSay) {
  EXPECT_THROW(Answer(0x1'0000'0000), std::bad_alloc);
}

// On the guarded heap, a byte behind the end is an access violation.
TEST(Answer, WritesNothingBehindItsEnd) {
  Answer answer(sizeof(HeartbeatResponse));
  answer.append(HeartbeatResponse{0x01020304});
  answer.append(HeartbeatResponse{0x05060708});
  answer.append(lastAccel(), L"text", L"key");
  EXPECT_EQ(bytesOf(std::move(answer)), (Bytes{4, 3, 2, 1}));
}

TEST(Answer, GoesOutWithZerosWhereItWasNotFilled) {
  Answer answer(sizeof(HeartbeatResponse) + 3);
  answer.append(HeartbeatResponse{0x01020304});
  EXPECT_EQ(bytesOf(std::move(answer)), (Bytes{4, 3, 2, 1, 0, 0, 0}));
}

TEST(Answer, HasZerosForATextThatTheSystemCanNoLongerConvert) {
  test::ImportHook<decltype(WideCharToMultiByte)> hook("kernel32.dll", "WideCharToMultiByte");
  hook.failCall(3, ERROR_INVALID_PARAMETER, 0);  // After the two that ask for sizes.
  const Bytes bytes = bytesOf(Answer::of(lastAccel(), L"ab", L"key"));
  EXPECT_EQ(Bytes(bytes.begin() + 20, bytes.end()), (Bytes{0, 0, 3, 0, 'k', 'e', 'y', 0, 0}));
}

}  // namespace
}  // namespace orva_accelerator::ipc
