// Exactly which system calls a request costs, and what happens when they fail.
#include <gtest/gtest.h>

#include <atomic>

#include "tests/ipc/channel_test.h"
#include "tests/ipc/pipe_call_log.h"
#include "tests/ipc/scripted_dispatcher.h"

namespace orva_accelerator::test {
namespace {

class RequestPipeCalls : public ChannelTest {
 protected:
  void SetUp() override {
    start();
    client_ = connect();
    pipe_ = waitForOnlyRequestPipe();
  }

  void ask(const Bytes& request, const Bytes& payload, std::uint32_t type = kEchoType) {
    ASSERT_TRUE(client_.write(request).done());
    expectEcho(client_, payload, type);
  }

  // What the connection did, from beginning to end, between being accepted and cleaned up.
  void expectCallsAfterClose(PipeCallLog::Lines middle) {
    client_.close();
    middle.insert(middle.begin(), "ConnectNamedPipe");
    middle.insert(middle.end(), {"ReadFile 24", "DisconnectNamedPipe", "CloseHandle"});
    EXPECT_TRUE(log_.becomes(pipe_, middle)) << testing::PrintToString(log_.of(pipe_));
  }

  // From now on the server's writes to the pipe fail; the client's own do not.
  void failWrites() {
    log_.writeFile.replace([this](HANDLE pipe, LPCVOID bytes, DWORD size, LPDWORD written,
                                  LPOVERLAPPED overlapped) -> BOOL {
      if (pipe != pipe_) return log_.writeFile.callOriginal(pipe, bytes, size, written, overlapped);
      SetLastError(ERROR_NO_DATA);
      return FALSE;
    });
  }

  PipeCallLog log_;
  RawPipeClient client_;
  HANDLE pipe_ = INVALID_HANDLE_VALUE;
};

TEST_F(RequestPipeCalls, AreOneReadTwoWritesAndAFlushForAHeaderOnly) {
  ask(headerBytes(kEchoType, 0), {});
  expectCallsAfterClose({"ReadFile 24", "WriteFile 8", "WriteFile 8", "FlushFileBuffers"});
}

TEST_F(RequestPipeCalls, AreOneReadMoreForAPayload) {
  ask(requestBytes(kEchoType, {1, 2, 3}), {1, 2, 3});
  expectCallsAfterClose(
      {"ReadFile 24", "ReadFile 3", "WriteFile 8", "WriteFile 11", "FlushFileBuffers"});
}

TEST_F(RequestPipeCalls, AreOneWriteLessForAResponseWithoutPayload) {
  ASSERT_TRUE(client_.write(headerBytes(kUnansweredType, 0)).done());
  expectResponse(client_, {});
  expectCallsAfterClose({"ReadFile 24", "WriteFile 8", "FlushFileBuffers"});
}

TEST_F(RequestPipeCalls, AreTheSameForEveryRequestOfAConnection) {
  for (int i = 0; i < 3; ++i) ask(requestBytes(kEchoType, {1}), {1});
  PipeCallLog::Lines expected;
  for (int i = 0; i < 3; ++i) {
    expected.insert(expected.end(), {"ReadFile 24", "ReadFile 1", "WriteFile 8", "WriteFile 9",
                                     "FlushFileBuffers"});
  }
  expectCallsAfterClose(expected);
}

TEST_F(RequestPipeCalls, AreOneReadForTheLongestPayloadThatAClientCanMean) {
  const Bytes large = patternBytes(131'094);
  ask(requestBytes(kEchoType, large), large);
  expectCallsAfterClose(
      {"ReadFile 24", "ReadFile 131094", "WriteFile 8", "WriteFile 131102", "FlushFileBuffers"});
}

// A header alone buys no memory for more than that.
TEST_F(RequestPipeCalls, ReadALargerPayloadInStepsOfWhatHasArrivedOrOneMebibyte) {
  const Bytes large = patternBytes(4 * 1024 * 1024);
  ask(requestBytes(kEchoType, large), large);
  expectCallsAfterClose({"ReadFile 24", "ReadFile 131094", "ReadFile 131094", "ReadFile 262188",
                         "ReadFile 524376", "ReadFile 1048576", "ReadFile 1048576",
                         "ReadFile 1048400", "WriteFile 8", "WriteFile 4194312",
                         "FlushFileBuffers"});
}

// The flush lasts as long as the client likes. A block of this size is given back to the system
// when it is freed.
TEST_F(RequestPipeCalls, FreeTheResponseBeforeTheFlush) {
  std::atomic<LPCVOID> response = nullptr;
  std::atomic<DWORD> stateAtFlush = 0;
  log_.writeFile.replace([&](HANDLE pipe, LPCVOID bytes, DWORD size, LPDWORD written,
                             LPOVERLAPPED overlapped) -> BOOL {
    if (pipe == pipe_ && size > sizeof(ipc::ResponseHeader)) response = bytes;
    return log_.writeFile.callOriginal(pipe, bytes, size, written, overlapped);
  });
  log_.flushFileBuffers.replace([&](HANDLE pipe) -> BOOL {
    MEMORY_BASIC_INFORMATION memory = {};
    EXPECT_NE(VirtualQuery(response, &memory, sizeof memory), 0U);
    stateAtFlush = memory.State;
    return log_.flushFileBuffers.callOriginal(pipe);
  });
  const Bytes large = patternBytes(4 * 1024 * 1024);
  ask(requestBytes(kEchoType, large), large);
  ASSERT_TRUE(waitUntil([&] { return stateAtFlush != 0; }));
  EXPECT_NE(stateAtFlush, DWORD{MEM_COMMIT});
}

TEST_F(RequestPipeCalls, AreOneReadForAClientThatLeavesAtOnce) {
  expectCallsAfterClose({});
  EXPECT_TRUE(waitUntil([this] { return inspector_.requestPipes().empty(); }));
}

TEST_F(RequestPipeCalls, DisconnectAndCloseAfterABadHeader) {
  ASSERT_TRUE(client_.write(Bytes(24, 0)).done());
  EXPECT_TRUE(client_.endsSilently());
  expectCallsAfterClose({});
}

TEST_F(RequestPipeCalls, DisconnectAndCloseAfterABadPayload) {
  ASSERT_TRUE(client_.write(joined(headerBytes(kEchoType, 5), {1, 2})).done());
  EXPECT_TRUE(client_.endsSilently());
  EXPECT_TRUE(log_.becomes(pipe_, {"ConnectNamedPipe", "ReadFile 24", "ReadFile 5",
                                   "DisconnectNamedPipe", "CloseHandle"}))
      << testing::PrintToString(log_.of(pipe_));
}

TEST_F(RequestPipeCalls, GoOnWhenWritesFail) {
  failWrites();
  ASSERT_TRUE(client_.write(headerBytes(kEchoType, 0)).done());
  EXPECT_TRUE(waitUntil([this] { return log_.count(pipe_, "ReadFile 24") == 2; }));
  log_.writeFile.replace(nullptr);
  ask(headerBytes(kEchoType, 0), {});
  const PipeCallLog::Lines request = {"ReadFile 24", "WriteFile 8", "WriteFile 8",
                                      "FlushFileBuffers"};
  PipeCallLog::Lines twice = request;
  twice.insert(twice.end(), request.begin(), request.end());
  expectCallsAfterClose(twice);
}

TEST_F(RequestPipeCalls, GoOnWhenTheFlushFails) {
  log_.flushFileBuffers.failAllCalls(ERROR_INVALID_HANDLE, FALSE);
  ask(headerBytes(kEchoType, 0), {});
  ask(headerBytes(kEchoType, 0), {});
}

TEST_F(RequestPipeCalls, CloseEvenWhenTheDisconnectFails) {
  log_.disconnectNamedPipe.failAllCalls(ERROR_PIPE_NOT_CONNECTED, FALSE);
  expectCallsAfterClose({});
}

struct FailedRead {
  DWORD size;  // Of a header or of a payload.
  DWORD error;
};

// A read that fails for another reason than a longer message ends the connection, whatever it has
// read, and is not tried again.
class FailingRequestRead : public RequestPipeCalls,
                           public testing::WithParamInterface<FailedRead> {};

TEST_P(FailingRequestRead, EndsTheConnection) {
  log_.readFile.replace(
      [this](HANDLE pipe, LPVOID buffer, DWORD size, LPDWORD got, LPOVERLAPPED overlapped) -> BOOL {
        // Of the second request.
        if (pipe != pipe_ || size != GetParam().size || log_.count(pipe, "ReadFile 24") != 2) {
          return log_.readFile.callOriginal(pipe, buffer, size, got, overlapped);
        }
        *got = size;
        SetLastError(GetParam().error);
        return FALSE;
      });
  ask(headerBytes(kEchoType, 0), {});
  (void)client_.write(requestBytes(kEchoType, Bytes(5)));  // May find the connection closed.
  EXPECT_TRUE(client_.endsSilently());
}

INSTANTIATE_TEST_SUITE_P(Reads, FailingRequestRead,
                         testing::Values(FailedRead{24, ERROR_NOT_ENOUGH_MEMORY},
                                         FailedRead{24, ERROR_OPERATION_ABORTED},
                                         FailedRead{5, ERROR_NOT_ENOUGH_MEMORY},
                                         FailedRead{5, ERROR_OPERATION_ABORTED}));

TEST_F(RequestPipeCalls, FindThePipeForgottenWhenItIsDisconnected) {
  std::atomic<std::size_t> listed{99};
  log_.disconnectNamedPipe.observe([&](HANDLE) { listed = inspector_.requestPipes().size(); });
  client_.close();
  EXPECT_TRUE(waitUntil([&] { return listed != 99; }));
  EXPECT_EQ(listed, 0U);
}

}  // namespace
}  // namespace orva_accelerator::test
