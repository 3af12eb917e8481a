#include "tests/ipc/channel_test.h"

#include "tests/support/import_patch.h"

namespace orva_accelerator::test {
namespace {

decltype(&Sleep) realSleep = nullptr;

void WINAPI sleepLongInSupervisors(DWORD milliseconds) {
  constexpr DWORD kSupervisorCycleMs = 10'000;
  realSleep(milliseconds == kSupervisorCycleMs ? 3'600'000 : milliseconds);
}

using SleepPatch = ImportPatch<void WINAPI(DWORD)>;

SleepPatch* patchSleep() {
  realSleep = &Sleep;
  return new SleepPatch("kernel32.dll", "Sleep", &sleepLongInSupervisors);
}

}  // namespace

void keepSupervisorsAsleep() {
  [[maybe_unused]] static const SleepPatch* const patch = patchSleep();
}

ChannelTest::ChannelTest() {
  keepSupervisorsAsleep();
}

ChannelTest::~ChannelTest() {
  server_.stop();
}

void ChannelTest::start() {
  ASSERT_TRUE(server_.start(requestName_, pushName_));
}

RawPipeClient ChannelTest::connect() const {
  RawPipeClient client;
  EXPECT_EQ(client.open(requestName_), 0U);
  return client;
}

RawPipeClient ChannelTest::registerPushClient(std::uint32_t id) const {
  const auto earlier = inspector_.pushPipe(id);
  RawPipeClient client;
  EXPECT_EQ(client.open(pushName_), 0U);
  EXPECT_TRUE(client.write(u32Bytes({id})).done());
  EXPECT_TRUE(waitUntil([&] {
    const auto now = inspector_.pushPipe(id);
    return now != nullptr && now != earlier;
  })) << "client "
      << id << " is not registered";
  return client;
}

HANDLE ChannelTest::waitForOnlyRequestPipe() const {
  EXPECT_TRUE(waitUntil([this] { return inspector_.requestPipes().size() == 1; }));
  const auto pipes = inspector_.requestPipes();
  return pipes.empty() ? INVALID_HANDLE_VALUE : *pipes.begin();
}

HANDLE ChannelTest::pushPipeOf(std::uint32_t id) const {
  const auto pipe = inspector_.pushPipe(id);
  return pipe ? pipe->get() : INVALID_HANDLE_VALUE;
}

bool ChannelTest::pushClientCountBecomes(std::size_t count) const {
  return waitUntil([&] { return server_.PushClientCount() == count; });
}

void expectResponse(RawPipeClient& client, const Bytes& payload) {
  const PipeOutcome header = client.read();
  ASSERT_TRUE(header.done()) << header.error;
  ASSERT_EQ(header.message, u32Bytes({0, static_cast<std::uint32_t>(payload.size())}));
  if (payload.empty()) return;
  const PipeOutcome body = client.read();
  ASSERT_TRUE(body.done()) << body.error;
  ASSERT_EQ(body.message.size(), payload.size());
  ASSERT_TRUE(body.message == payload);
}

void expectEcho(RawPipeClient& client, const Bytes& payload, std::uint32_t type,
                std::uint32_t clientId) {
  expectResponse(client, joined(u32Bytes({type, clientId}), payload));
}

void expectServed(RawPipeClient& client) {
  ASSERT_TRUE(client.write(requestBytes(kEchoType)).done());
  expectEcho(client, {});
}

}  // namespace orva_accelerator::test
