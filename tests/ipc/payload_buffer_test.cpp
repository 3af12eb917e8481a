#include "ipc/payload_buffer.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <atomic>
#include <limits>
#include <new>

#include "tests/ipc/channel_test.h"
#include "tests/support/import_patch.h"

namespace orva_accelerator::test {
namespace {

using ipc::PayloadBuffer;

bool isZero(const std::uint8_t* bytes, std::size_t size) {
  return std::all_of(bytes, bytes + size, [](std::uint8_t byte) { return byte == 0; });
}

// Plain functions, since the tests' own heap may use VirtualAlloc: only blocks of the watched size
// count.
std::atomic<std::size_t> watchedSize;
std::atomic<int> watchedAllocations;
std::atomic<int> releases;
std::atomic<void*> watchedBlock;
std::atomic<bool> allocationsFail;
decltype(&VirtualAlloc) realVirtualAlloc;
decltype(&VirtualFree) realVirtualFree;

void* WINAPI countingVirtualAlloc(void* address, SIZE_T size, DWORD type, DWORD protection) {
  if (size != watchedSize) return realVirtualAlloc(address, size, type, protection);
  ++watchedAllocations;
  if (allocationsFail) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
  }
  watchedBlock = realVirtualAlloc(address, size, type, protection);
  return watchedBlock;
}

BOOL WINAPI countingVirtualFree(void* address, SIZE_T size, DWORD type) {
  if (address == watchedBlock && type == MEM_RELEASE) ++releases;
  return realVirtualFree(address, size, type);
}

// Watches blocks for a payload of this size and its margin.
class WatchedPages {
 public:
  explicit WatchedPages(std::size_t payloadSize) {
    watchedSize = payloadSize + PayloadBuffer::kReadMargin;
    watchedAllocations = 0;
    releases = 0;
    watchedBlock = nullptr;
    allocationsFail = false;
  }
  ~WatchedPages() { watchedSize = 0; }
  WatchedPages(const WatchedPages&) = delete;
  WatchedPages& operator=(const WatchedPages&) = delete;

 private:
  struct Originals {
    Originals() {
      realVirtualAlloc = &VirtualAlloc;
      realVirtualFree = &VirtualFree;
    }
  } originals_;
  ImportPatch<void * WINAPI(void*, SIZE_T, DWORD, DWORD)> alloc_{"kernel32.dll", "VirtualAlloc",
                                                                 &countingVirtualAlloc};
  ImportPatch<BOOL WINAPI(void*, SIZE_T, DWORD)> free_{"kernel32.dll", "VirtualFree",
                                                       &countingVirtualFree};
};

TEST(PayloadBuffer, IsEmptyButReadableAtFirst) {
  const PayloadBuffer buffer;
  EXPECT_EQ(buffer.capacity(), 0U);
  ASSERT_NE(buffer.readable(), nullptr);
  EXPECT_TRUE(
      isZero(static_cast<const std::uint8_t*>(buffer.readable()), PayloadBuffer::kReadMargin));
}

TEST(PayloadBuffer, HasAMarginForTheFurthestReadOfAnyHandler) {
  EXPECT_EQ(PayloadBuffer::kReadMargin, 24U + 2U * 65'535U);
}

TEST(PayloadBuffer, GrowsToTheLargerOfTheSizeAndOneAndAHalfTimesItsCapacity) {
  struct Step {
    std::size_t size;
    std::size_t capacity;
  };
  PayloadBuffer buffer;
  for (const Step step : {Step{10, 10}, Step{10, 10}, Step{11, 15}, Step{16, 22}, Step{34, 34},
                          Step{1, 34}, Step{51, 51}, Step{52, 76}, Step{1048576, 1048576},
                          Step{1048577, 1572864}, Step{0, 1572864}}) {
    buffer.reserve(step.size);
    EXPECT_EQ(buffer.capacity(), step.capacity) << step.size;
  }
}

TEST(PayloadBuffer, HasExactlyOneMebibyteForAFirstPayloadOfOneMebibyte) {
  PayloadBuffer buffer;
  buffer.reserve(1024 * 1024);
  EXPECT_EQ(buffer.capacity(), 1024U * 1024U);
  const void* const before = buffer.readable();
  buffer.reserve(10);
  EXPECT_EQ(buffer.capacity(), 1024U * 1024U);
  EXPECT_EQ(buffer.readable(), before);
}

TEST(PayloadBuffer, IsZeroIncludingItsMargin) {
  PayloadBuffer buffer;
  buffer.reserve(5000);
  EXPECT_TRUE(isZero(buffer.data(), 5000 + PayloadBuffer::kReadMargin));
}

TEST(PayloadBuffer, KeepsItsBytesWhenItGrows) {
  PayloadBuffer buffer;
  buffer.reserve(100);
  std::fill_n(buffer.data(), 100, std::uint8_t{0xAB});
  buffer.reserve(100'000);
  EXPECT_TRUE(std::all_of(buffer.data(), buffer.data() + 100,
                          [](std::uint8_t byte) { return byte == 0xAB; }));
  EXPECT_TRUE(isZero(buffer.data() + 100, 99'900 + PayloadBuffer::kReadMargin));
}

TEST(PayloadBuffer, HandsOutItsOwnBytesOnceItHasAny) {
  PayloadBuffer buffer;
  buffer.reserve(1);
  EXPECT_EQ(buffer.readable(), buffer.data());
}

TEST(PayloadBuffer, ReleasesItsPages) {
  const WatchedPages pages(12'345);
  {
    PayloadBuffer buffer;
    buffer.reserve(12'345);
    EXPECT_EQ(watchedAllocations, 1);
    EXPECT_EQ(releases, 0);
  }
  EXPECT_EQ(releases, 1);
}

TEST(PayloadBuffer, ReleasesItsOldPagesWhenItGrows) {
  const WatchedPages pages(12'345);
  PayloadBuffer buffer;
  buffer.reserve(12'345);
  buffer.reserve(100'000);
  EXPECT_EQ(releases, 1);
}

TEST(PayloadBuffer, ThrowsAndStaysAsItWasWhenThereIsNoMemory) {
  const WatchedPages pages(1'000'000);
  allocationsFail = true;
  PayloadBuffer buffer;
  buffer.reserve(10);
  buffer.data()[9] = 0xAB;
  EXPECT_THROW(buffer.reserve(1'000'000), std::bad_alloc);
  EXPECT_EQ(watchedAllocations, 1);
  EXPECT_EQ(buffer.capacity(), 10U);
  EXPECT_EQ(buffer.data()[9], 0xAB);
}

TEST(PayloadBuffer, ThrowsForSizesThatNoMemoryHas) {
  constexpr std::size_t kLargest = std::numeric_limits<std::size_t>::max();
  PayloadBuffer buffer;
  EXPECT_THROW(buffer.reserve(kLargest), std::bad_alloc);
  EXPECT_THROW(buffer.reserve(kLargest - PayloadBuffer::kReadMargin), std::bad_alloc);
  EXPECT_THROW(buffer.reserve(kLargest / 2), std::bad_alloc);
  EXPECT_EQ(buffer.capacity(), 0U);
}

class ConnectionPayloadBuffer : public ChannelTest {};

TEST_F(ConnectionPayloadBuffer, OfOneMebibyteIsAllocatedOnceAndReused) {
  const WatchedPages pages(1024 * 1024);
  start();
  RawPipeClient client = connect();
  for (const std::size_t size :
       {std::size_t{1024 * 1024}, std::size_t{10}, std::size_t{1024 * 1024}}) {
    ASSERT_TRUE(client.write(requestBytes(kEchoType, patternBytes(size))).done());
    expectEcho(client, patternBytes(size));
  }
  EXPECT_EQ(watchedAllocations, 1);
  client.close();
  EXPECT_TRUE(waitUntil([] { return releases == 1; }));
}

TEST_F(ConnectionPayloadBuffer, EndsTheProcessWhenThereIsNoMemory) {
  EXPECT_EXIT(
      {
        const WatchedPages pages(5000);
        allocationsFail = true;
        start();
        RawPipeClient client = connect();
        (void)client.write(headerBytes(kEchoType, 5000));
        (void)client.endsSilently();
      },
      testing::ExitedWithCode(3), "");
}

}  // namespace
}  // namespace orva_accelerator::test
