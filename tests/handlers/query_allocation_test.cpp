// What a query costs in heap blocks, and that none of what they held goes out. This executable
// replaces the global operators with ones that count and fill.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstring>
#include <memory>
#include <new>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "handlers/answer.h"
#include "ipc/message_handler.h"
#include "ipc/notifiers.h"
#include "ipc/payload_buffer.h"
#include "ipc/pipe_server.h"
#include "ipc/wire/messages.h"
#include "sdk/accel_sdk_impl.h"
#include "sdk/kernel_function_table.h"
#include "tests/support/bounded_wait.h"
#include "tests/support/initialised_kernel.h"
#include "tests/support/kernel_data.h"
#include "tests/support/pipe_server_inspector.h"
#include "tests/support/replaced_heap.h"

namespace {

constexpr std::uint8_t kHeapRubbish = 0xCC;

// Blocks asked for while counting; on one thread at a time. No allocation of its own.
struct Allocations {
  struct Block {
    std::size_t size;
    bool isArray;  // Asked for with new[]: responses are, and nothing else on the way.
  };
  std::array<Block, 64> blocks{};
  std::size_t count = 0;
  bool counting = false;
};
thread_local Allocations allocations;

// Called with the size of every block, before it is handed out.
std::atomic<void (*)(std::size_t)> onAllocation = nullptr;

// Of this thread, no block of that size, or not the one that comes after so many others.
thread_local std::size_t refusedSize = ~std::size_t{0};
thread_local int blocksBeforeRefusal = -1;

}  // namespace

void* orva_accelerator::test::allocateBlock(std::size_t size, bool isArray) {
  if (size == refusedSize || (blocksBeforeRefusal >= 0 && blocksBeforeRefusal-- == 0)) {
    throw std::bad_alloc();
  }
  void* const block = allocateFromRuntime(size);
  std::memset(block, kHeapRubbish, size);
  if (const auto hook = onAllocation.load()) hook(size);
  Allocations& mine = allocations;
  if (mine.counting && mine.count < mine.blocks.size()) mine.blocks[mine.count++] = {size, isArray};
  return block;
}

namespace orva_accelerator::ipc {
namespace {

using sdk::KernelBool;
using sdk::KernelFunction;
using test::setText;

template <typename Record>
KernelBool answerList(std::span<const Record> list, Record* records, std::uint32_t* count) {
  if (records != nullptr)
    std::copy_n(list.begin(), std::min<std::size_t>(*count, list.size()), records);
  *count = static_cast<std::uint32_t>(list.size());
  return 1;
}

// The library's functions themselves: those of FakeKernel allocate, to record their calls.
struct Texts {
  std::wstring_view game, info, key, server, node;
};
Texts texts;

KernelBool getAccelData(sdk::AccelDataRecord* record) {
  setText(record->text3, texts.node);
  return 1;
}
KernelBool getConsoleData(sdk::ConsoleDataRecord*) {
  return 1;
}
KernelBool getLast(std::uint32_t, std::uint32_t*, wchar_t* info, std::uint32_t, wchar_t* key,
                   std::uint32_t, std::uint32_t* nodeId, std::uint8_t*, std::uint32_t*) {
  std::copy(texts.info.begin(), texts.info.end(), info);
  std::copy(texts.key.begin(), texts.key.end(), key);
  *nodeId = 11;
  return 1;
}
KernelBool getGame(std::uint32_t, sdk::GameDataRecord* record) {
  setText(record->gameText, texts.game);
  return 1;
}
KernelBool getServers(std::uint32_t, std::uint32_t, sdk::ServerRecord* records,
                      std::uint32_t* count) {
  sdk::ServerRecord record = {};
  setText(record.serverKey, texts.key);
  setText(record.serverText, texts.server);
  return answerList<sdk::ServerRecord>({&record, 1}, records, count);
}
KernelBool getNodes(std::uint32_t, std::uint32_t, const wchar_t*, sdk::NodeRecord* records,
                    std::uint32_t* count) {
  sdk::NodeRecord record = {};
  record.nodeId = 11;
  setText(record.nodeText, texts.node);
  return answerList<sdk::NodeRecord>({&record, 1}, records, count);
}
KernelBool getUsedNodes(std::uint32_t, sdk::UsedNodeRecord* records, std::uint32_t* count) {
  std::array<sdk::UsedNodeRecord, 3> nodes = {};
  for (sdk::UsedNodeRecord& node : nodes) {
    setText(node.usedText1, texts.key);
    setText(node.usedText2, texts.node);
  }
  return answerList<sdk::UsedNodeRecord>(nodes, records, count);
}
KernelBool getSpeed(std::uint32_t, std::uint32_t, const wchar_t*, std::uint32_t,
                    sdk::TestSpeedSummary* summary, sdk::TestSpeedEntry* entries,
                    std::uint32_t* count) {
  summary->summary[0] = 1;
  const std::array<sdk::TestSpeedEntry, 2> two = {};
  return answerList<sdk::TestSpeedEntry>(two, entries, count);
}

template <KernelFunction F>
void use(typename sdk::KernelSignature<F>::Type function) {
  sdk::kernelFunctions.set(static_cast<std::size_t>(F),
                           reinterpret_cast<FARPROC>(reinterpret_cast<void (*)()>(function)));
}

class QueryAllocations : public testing::Test {
 protected:
  QueryAllocations() {
    use<KernelFunction::Kernel_GetAccelData>(getAccelData);
    use<KernelFunction::Kernel_GetConsoleData>(getConsoleData);
    use<KernelFunction::Kernel_GetGameLastAccelInfo>(getLast);
    use<KernelFunction::Kernel_GetGameDataFromGameID>(getGame);
    use<KernelFunction::Kernel_GetGameServerDataList>(getServers);
    use<KernelFunction::Kernel_GetGameNodeDataList>(getNodes);
    use<KernelFunction::Kernel_GetGameUsedNodeDataList>(getUsedNodes);
    use<KernelFunction::Kernel_GetTestSpeedData_V2>(getSpeed);
  }

  struct Cost {
    std::uint32_t responseLength;
    std::vector<std::size_t> responseBlocks;
    std::vector<std::size_t> otherBlocks;
  };

  Cost costOf(std::uint32_t type) {
    MessageHeader header = {kRequestMagic, 0, type, 0, 0, 7};
    void* response = nullptr;
    std::uint32_t responseLength = 0;
    allocations.count = 0;
    allocations.counting = true;
    DispatchRequest(server, header, payload.data(), response, responseLength);
    allocations.counting = false;
    Cost cost = {responseLength, {}, {}};
    for (const auto& block : std::span(allocations.blocks).first(allocations.count)) {
      (block.isArray ? cost.responseBlocks : cost.otherBlocks).push_back(block.size);
    }
    const std::unique_ptr<std::uint8_t[]> owned(static_cast<std::uint8_t*>(response));
    return cost;
  }

  test::InitialisedKernel kernel;
  PipeServer server;  // Never started.
  const std::vector<std::uint8_t> payload = std::vector<std::uint8_t>(PayloadBuffer::kReadMargin);
};

constexpr std::array kQueries = {MsgGetAccelData,     MsgGetGameLastAccelInfo,
                                 MsgGetGameAccelInfo, MsgGetTestSpeedData,
                                 MsgGetConsoleData,   MsgGetGameUsedNodeList};

TEST_F(QueryAllocations, AreOneBlockOfExactlyItsLengthForTheResponse) {
  const std::wstring longest(255, L'游');
  for (const Texts& some : {Texts{}, Texts{L"game", L"info", L"key", L"server", L"node"},
                            Texts{longest, longest, longest, longest, longest}}) {
    texts = some;
    for (const MessageType type : kQueries) {
      const Cost cost = costOf(type);
      EXPECT_THAT(cost.responseBlocks, testing::ElementsAre(cost.responseLength)) << type;
    }
  }
}

TEST_F(QueryAllocations, AreOneBlockOfExactlyItsLengthForAFailure) {
  sdk::AccelSdk::Instance().Release();
  sdk::kernelFunctions.clear();
  const std::array<std::uint32_t, 6> lengths = {48, 24, 64, 60, 28, 8};
  for (std::size_t i = 0; i < kQueries.size(); ++i) {
    const Cost cost = costOf(kQueries[i]);
    EXPECT_EQ(cost.responseLength, lengths[i]);
    EXPECT_THAT(cost.responseBlocks, testing::ElementsAre(lengths[i])) << kQueries[i];
    EXPECT_THAT(cost.otherBlocks, testing::IsEmpty()) << kQueries[i];
  }
}

// Short texts live inside their strings; only lists need memory of their own.
TEST_F(QueryAllocations, AreTheResponseAndTheListsForShortTexts) {
  texts = {L"game", L"info", L"key", L"server", L"node"};
  EXPECT_THAT(costOf(MsgGetAccelData).otherBlocks, testing::IsEmpty());
  EXPECT_THAT(costOf(MsgGetConsoleData).otherBlocks, testing::IsEmpty());
  EXPECT_THAT(costOf(MsgGetGameLastAccelInfo).otherBlocks, testing::IsEmpty());
  // The array that the library fills is what the query hands out.
  EXPECT_THAT(costOf(MsgGetTestSpeedData).otherBlocks,
              testing::ElementsAre(2 * sizeof(sdk::TestSpeedEntry)));
  // For each list the array alone: only one record of it is wanted.
  EXPECT_THAT(costOf(MsgGetGameAccelInfo).otherBlocks,
              testing::ElementsAre(sizeof(sdk::ServerRecord), sizeof(sdk::NodeRecord)));
  EXPECT_THAT(costOf(MsgGetGameUsedNodeList).otherBlocks,
              testing::ElementsAre(3 * sizeof(sdk::UsedNodeRecord)));
}

class RefusedAllocations : public QueryAllocations {
 protected:
  void expectRefusal(MessageType type, std::size_t size) {
    bool isRefused = false;
    refusedSize = size;
    try {
      (void)costOf(type);
    } catch (const std::bad_alloc&) {
      isRefused = true;
    }
    refusedSize = ~std::size_t{0};
    allocations.counting = false;
    EXPECT_TRUE(isRefused) << type;
  }
};

// The service ends there.
TEST_F(RefusedAllocations, OfAListLeaveNoAnswer) {
  texts = {L"game", L"info", L"key", L"server", L"node"};
  expectRefusal(MsgGetGameAccelInfo, sizeof(sdk::ServerRecord));
  expectRefusal(MsgGetGameAccelInfo, sizeof(sdk::NodeRecord));
  expectRefusal(MsgGetGameUsedNodeList, 3 * sizeof(sdk::UsedNodeRecord));
  expectRefusal(MsgGetTestSpeedData, 2 * sizeof(sdk::TestSpeedEntry));
}

TEST_F(RefusedAllocations, OfAnAnswerComeBeforeTheOperation) {
  expectRefusal(MsgUserLogin, sizeof(UserLoginResponse));
  expectRefusal(MsgStopAccel, sizeof(StopAccelResponse));
  EXPECT_THAT(kernel.calls(), testing::IsEmpty());
}

TEST_F(RefusedAllocations, LoseANotificationOfAStartAndNothingElse) {
  PipeServer* const other = currentPipeServer.exchange(&server);
  PipeServerInspector(server).putPushClient(
      8, {8, std::make_shared<PushPipe>(win32::UniqueFileHandle()), {}, true, 0});
  sdk::SAccelResult result;
  result.state = sdk::AccelStateAccelerating;
  result.text1 = result.text2 = std::wstring(50, L'x');
  int refused = 0;
  do {
    server.ownership.clear();
    blocksBeforeRefusal = refused++;
    EXPECT_NO_THROW(AccelResultNotifier(7, NotifyStartAccel)(result)) << refused;
    EXPECT_TRUE(server.ownership.isHeldBy(7));
  } while (std::exchange(blocksBeforeRefusal, -1) < 0);
  EXPECT_GT(refused, 4);  // Two texts, the payload, the list of pipes.
  currentPipeServer = other;
}

std::atomic<int> bindingsMade = 0;
std::atomic<bool> secondHasReturned = false;

// The first thread to make the binding waits for the second one, which must not get there at all.
TEST(AccelSdkInstance, IsMadeOnceWhenTwoThreadsAskAtTheSameTime) {
  onAllocation = [](std::size_t size) {
    if (size != sizeof(sdk::AccelSdkImpl) || ++bindingsMade != 1) return;
    (void)test::waitUntil([] { return secondHasReturned.load(); }, std::chrono::milliseconds(500));
  };
  const sdk::AccelSdk* first = nullptr;
  std::thread making([&] { first = &sdk::AccelSdk::Instance(); });
  ASSERT_TRUE(test::waitUntil([] { return bindingsMade != 0; }));
  const sdk::AccelSdk* const second = &sdk::AccelSdk::Instance();
  secondHasReturned = true;
  making.join();
  onAllocation = nullptr;
  EXPECT_EQ(first, second);
  EXPECT_EQ(bindingsMade, 1);
}

// In what is shipped, zeros go out: answer_test.cpp.
#ifndef NDEBUG
TEST(AnswerDeathTest, EndsTheProcessWhenItWasNotFilled) {
  EXPECT_DEATH((void)Answer(sizeof(HeartbeatResponse) + 3).release(), "filled_ == length_");
}
#endif

}  // namespace
}  // namespace orva_accelerator::ipc
