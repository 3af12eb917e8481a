// The six queries over a library that writes bytes and not records, so that nobody shares a mistake
// in a record's fields with the service; and all the ways in which they come to nothing.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "ipc/wire/messages.h"
#include "tests/handlers/query_fixture.h"
#include "tests/support/bounded_wait.h"

namespace orva_accelerator::ipc {
namespace {

using sdk::KernelBool;
using sdk::KernelFunction;
using test::answerTo;
using test::Bytes;

// What the library lays out, written by offset.
class Layout {
 public:
  explicit Layout(std::size_t size) : bytes_(size, 0) {}
  Layout& number(std::size_t offset, std::uint64_t value, std::size_t size = 4) {
    for (std::size_t i = 0; i < size; ++i) {
      bytes_.at(offset + i) = static_cast<std::uint8_t>(value >> (8 * i));
    }
    return *this;
  }
  Layout& text(std::size_t offset, std::string_view ascii) {
    for (std::size_t i = 0; i < ascii.size(); ++i) {
      bytes_.at(offset + 2 * i) = static_cast<std::uint8_t>(ascii[i]);
    }
    return *this;
  }
  template <typename Record>
  void put(Record* record) const {
    ASSERT_EQ(sizeof(Record), bytes_.size());
    std::memcpy(static_cast<void*>(record), bytes_.data(), bytes_.size());
  }

 private:
  Bytes bytes_;
};

Bytes bytesOf(std::initializer_list<std::uint32_t> numbers, std::string_view rest = {}) {
  Bytes bytes;
  for (const std::uint32_t number : numbers) {
    for (const unsigned shift : {0U, 8U, 16U, 24U}) {
      bytes.push_back(static_cast<std::uint8_t>(number >> shift));
    }
  }
  bytes.insert(bytes.end(), rest.begin(), rest.end());
  return bytes;
}
constexpr std::uint32_t lengths(std::uint32_t first, std::uint32_t second = 0) {
  return first | second << 16;
}

const Layout kAccelData = Layout(2595)
                              .number(0, 0x1001)
                              .number(4, 0x1002)
                              .text(8, "one")
                              .number(518, 0x1003)
                              .text(522, "two")
                              .text(1032, "three")
                              .text(1542, "four")
                              .number(2052, 0x1004)
                              .text(2056, "five")
                              .number(2566, 0xEE, 1)
                              .number(2567, 0x1005)
                              .number(2571, 0x1006)
                              .number(2575, 0x1007)
                              .number(2579, 0xF123'4567'89AB'CDEF, 8)
                              .number(2587, 0x1009)
                              .number(2591, 0x100A);
const Layout kConsole =
    Layout(21).number(0, 1).number(4, 2).number(8, 3).number(12, 4).number(16, 5).number(20, 0x80,
                                                                                         1);
const Layout kGame = Layout(514).number(0, 77).text(4, "game");
const Layout kOtherServer = Layout(1024).text(0, "other").text(512, "wrong");
const Layout kServer = Layout(1024).text(0, "key").text(512, "server");
const Layout kOtherNode = Layout(528).number(0, 12).text(4, "wrong");
const Layout kNode =
    Layout(528).number(0, 11).text(4, "node").number(516, 0x21).number(520, 0x22).number(524, 0x23);
const Layout kUsedNode = Layout(1044)
                             .number(0, 0x31)
                             .number(4, 0x32)
                             .text(8, "first")
                             .number(520, 0x33)
                             .text(524, "2nd")
                             .number(1036, 0x34'0000'0035, 8);

Layout summary() {
  Layout layout(56);
  for (std::uint32_t i = 0; i < 14; ++i) layout.number(4 * i, 0x41 + i);
  return layout;
}

template <typename Record>
void putList(const std::vector<Layout>& list, Record* records, std::uint32_t* count) {
  for (std::size_t i = 0; records != nullptr && i < list.size(); ++i) list[i].put(records + i);
  *count = static_cast<std::uint32_t>(list.size());
}

struct Query {
  MessageType type;
  KernelFunction function;  // Without which it comes to nothing.
  bool answersAfterRelease;
  Bytes answer;
  Bytes nothing;
};

const std::map<std::string, Query> kQueries = {
    {"1536",
     {MsgGetAccelData, KernelFunction::Kernel_GetAccelData, false,
      bytesOf({0x1002, 0x1003, 0x1004, 0x1001, 0x1005, 0x1006, 0x1009, 0, 0x89ABCDEF, 0xF1234567,
               0x100A, lengths(5)},
              "three"),
      Bytes(48, 0)}},
    {"1537",
     {MsgGetGameLastAccelInfo, KernelFunction::Kernel_GetGameLastAccelInfo, false,
      bytesOf({1, 2, 11, 1, 86, lengths(4, 3)}, "infokey"), Bytes(24, 0)}},
    {"1538",
     {MsgGetGameAccelInfo, KernelFunction::Kernel_GetGameLastAccelInfo, false,
      bytesOf({1, 1001, 2, 11, 1, 86, 0, 0, 0, 0, 0x21, 0x22, lengths(4, 4), lengths(3, 6),
               lengths(4), 0},
              "gameinfokeyservernode"),
      Bytes(64, 0)}},
    {"1539",
     {MsgGetTestSpeedData, KernelFunction::Kernel_GetTestSpeedData_V2, false,
      bytesOf(
          {1, 0x41, 0x42, 0x43, 0x44, 0x45, 0x46, 0x47, 0x48, 0x49, 0x4A, 0x4B, 0x4C, 0x4D, 0x4E}),
      Bytes(60, 0)}},
    {"1540",
     {MsgGetConsoleData, KernelFunction::Kernel_GetConsoleData, false,
      bytesOf({1, 1, 2, 3, 4, 5, 1}), bytesOf({1, 0, 0, 0, 0, 0, 0})}},
    {"1541",
     {MsgGetGameUsedNodeList, KernelFunction::Kernel_GetGameUsedNodeDataList, true,
      bytesOf({1, 1, 0x31, 0x32, 0x33, 0, 0x35, 0x34, lengths(5, 3), 0}, "first2nd"),
      bytesOf({1, 0})}},
};

class Queries : public testing::Test {
 protected:
  Queries() {
    kernel.Kernel_GetAccelData = [this](sdk::AccelDataRecord* record) {
      kAccelData.put(record);
      return done(record);
    };
    kernel.Kernel_GetConsoleData = [this](sdk::ConsoleDataRecord* record) {
      kConsole.put(record);
      return done(record);
    };
    kernel.Kernel_GetGameDataFromGameID = [this](std::uint32_t, sdk::GameDataRecord* record) {
      kGame.put(record);
      return done(record);
    };
    kernel.Kernel_GetGameLastAccelInfo =
        [this](std::uint32_t, std::uint32_t* area, wchar_t* info, std::uint32_t, wchar_t* key,
               std::uint32_t, std::uint32_t* node, std::uint8_t* flag, std::uint32_t* value) {
          *area = 2;
          std::wcscpy(info, L"info");
          std::wcscpy(key, L"key");
          *node = 11;
          *flag = 0x80;
          *value = 86;
          return done(info);
        };
    kernel.Kernel_GetGameServerDataList = [this](std::uint32_t, std::uint32_t,
                                                 sdk::ServerRecord* records, std::uint32_t* count) {
      putList({kOtherServer, kServer}, records, count);
      return done(records);
    };
    kernel.Kernel_GetGameNodeDataList = [this](std::uint32_t, std::uint32_t, const wchar_t*,
                                               sdk::NodeRecord* records, std::uint32_t* count) {
      putList({kOtherNode, kNode}, records, count);
      return done(records);
    };
    kernel.Kernel_GetGameUsedNodeDataList = [this](std::uint32_t, sdk::UsedNodeRecord* records,
                                                   std::uint32_t* count) {
      putList({kUsedNode}, records, count);
      return done(records);
    };
    kernel.Kernel_GetTestSpeedData_V2 = [this](std::uint32_t, std::uint32_t, const wchar_t*,
                                               std::uint32_t, sdk::TestSpeedSummary* out,
                                               sdk::TestSpeedEntry* entries, std::uint32_t* count) {
      if (accepts != 0) summary().put(out);
      putList({Layout(16)}, entries, count);
      return done(entries);
    };
    EXPECT_TRUE(sdk::ResolveKernelFunctions(kernel.module()));
  }
  ~Queries() override { sdk::AccelSdk::Instance().Release(); }

  // Every function of the library ends with that.
  KernelBool done(const void* record) {
    EXPECT_TRUE(record == nullptr || beingWritten.insert(record).second)
        << "another query's record";
    if (const auto action = std::exchange(meanwhile, {})) {
      other = std::thread([this, action] {
        action();
        isDone = true;
      });
      EXPECT_TRUE(test::waitUntil([this] { return isDone.load(); }));
    }
    beingWritten.erase(record);
    return accepts;
  }

  void initialise() {
    EXPECT_EQ(sdk::AccelSdk::Instance().Init({}), sdk::SdkInitialised);
    kernel.clearCalls();
  }
  static Bytes ask(const Query& query) { return answerTo(query.type, bytesOf({1001, 2, 0, 0})); }

  Bytes askWhile(const Query& query, std::function<void()> action) {
    isDone = false;
    meanwhile = std::move(action);
    Bytes answer = ask(query);
    other.join();
    return answer;
  }

  void expectAnswers() {
    for (const auto& [name, query] : kQueries) EXPECT_EQ(ask(query), query.answer) << name;
  }
  // Where the binding is not initialised, the library is asked for the used nodes only.
  void expectOnlyUsedNodes() {
    for (const auto& [name, query] : kQueries) {
      kernel.clearCalls();
      EXPECT_EQ(ask(query), query.answersAfterRelease ? query.answer : query.nothing) << name;
      EXPECT_EQ(kernel.calls().empty(), !query.answersAfterRelease) << name;
    }
  }

  test::FakeKernel kernel;
  KernelBool accepts = 1;
  std::function<void()> meanwhile;  // Done by another thread inside the library's next call.
  std::atomic<bool> isDone = false;
  std::thread other;
  std::set<const void*> beingWritten;
};

TEST_F(Queries, PutTheLibrarysBytesWhereTheProtocolHasThem) {
  initialise();
  expectAnswers();
}

TEST_F(Queries, ComeToNothingWhenTheLibraryRefusesThoughItHasWrittenItsBytes) {
  initialise();
  accepts = 0;
  for (const auto& [name, query] : kQueries) EXPECT_EQ(ask(query), query.nothing) << name;
}

TEST_F(Queries, ComeToNothingWithoutTheirFunction) {
  initialise();
  for (const auto& [name, query] : kQueries) {
    sdk::kernelFunctions.set(static_cast<std::size_t>(query.function), nullptr);
    EXPECT_EQ(ask(query), query.nothing) << name;
  }
  EXPECT_THAT(kernel.calls(), testing::IsEmpty());
}

// The functions are there, as they are while an initialisation is under way.
TEST_F(Queries, ComeToNothingBeforeTheFirstInit) {
  ASSERT_FALSE(sdk::AccelSdk::Instance().IsInitialised());
  expectOnlyUsedNodes();
}

TEST_F(Queries, ComeToNothingAfterARelease) {
  initialise();
  EXPECT_EQ(answerTo(MsgSdkRelease), bytesOf({1}));
  expectOnlyUsedNodes();
}

TEST_F(Queries, AnswerThoughTheBindingIsReleasedMeanwhile) {
  for (const auto& [name, query] : kQueries) {
    initialise();
    EXPECT_EQ(askWhile(query, [] { sdk::AccelSdk::Instance().Release(); }), query.answer) << name;
  }
}

TEST_F(Queries, HaveRecordsOfTheirOwnWhenTwoAskAtTheSameTime) {
  initialise();
  for (const auto& [name, query] : kQueries) {
    SCOPED_TRACE(name);
    EXPECT_EQ(askWhile(query, [&] { EXPECT_EQ(ask(query), query.answer); }), query.answer);
  }
}

TEST_F(Queries, AnswerAgainAfterASecondInit) {
  initialise();
  sdk::AccelSdk::Instance().Release();
  initialise();
  expectAnswers();
}

}  // namespace
}  // namespace orva_accelerator::ipc
