#include <windows.h>

#include <cstring>
#include <memory>
#include <string>

#include "bench/micro/allocation_count.h"
#include "bench/micro/cases.h"
#include "bench/micro/instant_library.h"
#include "bench/micro/pipe_server_inspector.h"
#include "bench/micro/timing.h"
#include "ipc/payload_buffer.h"
#include "ipc/wire/messages.h"
#include "ipc/wire/requests.h"
#include "sdk/accel_sdk.h"

namespace orva_accelerator::bench {

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint32_t kClientId = 7;
constexpr double kNoLimit = 0;

template <typename Fixed>
Bytes payloadOf(const Fixed& fixed, const std::string& texts = {}) {
  const auto* const first = reinterpret_cast<const std::uint8_t*>(&fixed);
  Bytes bytes(first, first + sizeof(fixed));
  bytes.insert(bytes.end(), texts.begin(), texts.end());
  return bytes;
}

// A server with one push client, so that the one that is measured is not the last to leave.
class DispatchBench {
 public:
  DispatchBench() {
    (void)server_.RegisterPushClient(
        kClientId + 1, std::make_shared<ipc::PushPipe>(win32::UniqueFileHandle()));  // Always true.
  }

  ipc::PipeServer& server() { return server_; }

  // From the dispatcher to the release of the response; its length.
  std::uint32_t dispatch(std::uint32_t type, std::size_t payloadLength) {
    const ipc::MessageHeader header = {
        ipc::kRequestMagic, 0, type, static_cast<std::uint32_t>(payloadLength), 0, kClientId};
    void* response = nullptr;
    std::uint32_t responseLength = 0;
    ipc::DispatchRequest(server_, header, payload_.readable(), response, responseLength);
    const std::unique_ptr<std::uint8_t[]> owned(static_cast<std::uint8_t*>(response));
    server_.ownership.clear();  // A pending start would be in the way of the next one.
    return responseLength;
  }

  void measure(const std::string& label, std::uint32_t type, const Bytes& payload, double limitNs,
               Tables& tables) {
    payload_.reserve(payload.size());
    if (!payload.empty()) std::memcpy(payload_.data(), payload.data(), payload.size());
    (void)dispatch(type, payload.size());  // Whatever happens the first time only.
    const Allocations before = allocationsSoFar();
    const std::uint32_t answer = dispatch(type, payload.size());
    const Allocations after = allocationsSoFar();
    const Timing timing = timeOf([&] { (void)dispatch(type, payload.size()); });
    const std::size_t blocks = after.blocks - before.blocks;
    const std::size_t bytes = after.bytes - before.bytes;
    std::string verdict = "-";
    if (limitNs > 0) verdict = timing.medianNs <= limitNs ? "met" : "missed";
    tables.add({label, std::to_string(answer), number(timing.medianNs, 0),
                number(timing.lowNs, 0) + " to " + number(timing.highNs, 0), std::to_string(blocks),
                std::to_string(bytes), limitNs > 0 ? number(limitNs, 0) : "-", verdict},
               {{"label", label},
                {"type", type},
                {"answerBytes", answer},
                {"medianNs", timing.medianNs},
                {"lowNs", timing.lowNs},
                {"highNs", timing.highNs},
                {"samples", timing.samples},
                {"blocks", blocks},
                {"bytes", bytes},
                {"limitNs", limitNs},
                {"verdict", verdict}});
  }

 private:
  ipc::PipeServer server_;
  ipc::PayloadBuffer payload_;
};

void measureWithoutText(DispatchBench& bench, Tables& tables) {
  constexpr double limit = 300;
  const Bytes game = payloadOf(ipc::GameRequest{7});
  bench.measure("unknown type", 0x7FFF, {}, limit, tables);
  bench.measure("0xFFFF heartbeat", ipc::MsgHeartbeat, {}, limit, tables);
  bench.measure("0x200 is initialised", ipc::MsgSdkIsInitialised, {}, limit, tables);
  bench.measure("0x503 owner", ipc::MsgQueryAccelOwner, {}, limit, tables);
  bench.measure("0x604 console data", ipc::MsgGetConsoleData, {}, limit, tables);
  bench.measure("0x600 acceleration data, no text", ipc::MsgGetAccelData, {}, limit, tables);
  bench.measure("0x601 last acceleration, no text", ipc::MsgGetGameLastAccelInfo, game, limit,
                tables);
  bench.measure("0x100 initialise, already so", ipc::MsgSdkInit,
                payloadOf(ipc::SdkInitRequest{1, 0, 0, 0}), limit, tables);
  bench.measure("0x502 stop", ipc::MsgStopAccel, {}, kNoLimit, tables);
  bench.measure("0x700 leave", ipc::MsgClientLeaving, {}, kNoLimit, tables);
}

// `text` is `utf8` in the library's form.
void measureTexts(const std::string& label, const std::string& utf8, const std::wstring& text,
                  bool isShort, DispatchBench& bench, Tables& tables) {
  const double limit = isShort ? 1000 : kNoLimit;
  const auto length = static_cast<std::uint16_t>(utf8.size());
  const Bytes game = payloadOf(ipc::GameRequest{7});
  const ipc::StartAccelRequest start = {1, 2, length, 0, 3, 0, 0};
  setLibraryAnswers({text, 1});
  bench.measure("0x101 login, 2 texts, " + label, ipc::MsgUserLogin,
                payloadOf(ipc::UserLoginRequest{length, length}, utf8 + utf8), limit, tables);
  bench.measure("0x500 start, 1 text, " + label, ipc::MsgStartAccel, payloadOf(start, utf8), limit,
                tables);
  bench.measure("0x501 start ex, 1 text, " + label, ipc::MsgStartAccelEx,
                payloadOf(ipc::StartAccelExRequest{start, 4}, utf8), limit, tables);
  bench.measure("0x600 acceleration data, 1 text, " + label, ipc::MsgGetAccelData, {}, limit,
                tables);
  bench.measure("0x601 last acceleration, 2 texts, " + label, ipc::MsgGetGameLastAccelInfo, game,
                limit, tables);
  bench.measure("0x602 acceleration info, 5 texts, " + label, ipc::MsgGetGameAccelInfo, game,
                isShort ? 1000 : 5000, tables);
  bench.measure("0x603 speed test, 1 text, " + label, ipc::MsgGetTestSpeedData,
                payloadOf(ipc::TestSpeedRequest{7, 1, length, 0, 0}, utf8), limit, tables);
  setLibraryAnswers({text, 10});
  bench.measure("0x605 10 used nodes, 20 texts, " + label, ipc::MsgGetGameUsedNodeList, game,
                isShort ? 5000 : kNoLimit, tables);
}

std::string repeated(const char* character, int times) {
  std::string text;
  for (int i = 0; i < times; ++i) text += character;
  return text;
}

}  // namespace

void measureDispatch(Tables& tables) {
  tables.begin("Dispatching a request",
               "`DispatchRequest` and the release of its response, without a pipe, with a library "
               "that answers at once. Median of many samples, and what nine tenths of them stay "
               "above and below; blocks and bytes are what operator new was asked for.",
               {"", "answer", "ns", "spread", "blocks", "bytes", "limit ns", ""});
  DispatchBench bench;
  setLibraryAnswers({L"", 1});
  measureWithoutText(bench, tables);
  measureTexts("6 letters", "east-1", L"east-1", true, bench, tables);
  measureTexts("255 letters", repeated("a", 255), std::wstring(255, L'a'), false, bench, tables);
  measureTexts("255 of 3 bytes", repeated("\xE4\xB8\xAD", 255), std::wstring(255, L'\u4E2D'), false,
               bench, tables);
}

void measureDispatchAfterManyConnections(Tables& tables) {
  tables.begin("Dispatching after many connections",
               "The same heartbeat with so many entries in `connectionThreads`, and what one more "
               "entry costs.",
               {"finished", "heartbeat ns", "one more entry ns"});
  for (const int count : {0, 10'000, 100'000}) {
    DispatchBench bench;
    ipc::PipeServerInspector inspector(bench.server());
    inspector.setFinishedConnections(static_cast<std::size_t>(count));
    const Timing request = timeOf([&] { (void)bench.dispatch(ipc::MsgHeartbeat, 0); });
    const Timing entry = timeOf([&] {
      inspector.addConnectionThread();
      inspector.removeConnectionThread();
    });
    tables.add(
        {std::to_string(count), number(request.medianNs, 0), number(entry.medianNs, 0)},
        {{"finished", count}, {"heartbeatNs", request.medianNs}, {"entryNs", entry.medianNs}});
  }
}

void measureConversions(Tables& tables) {
  tables.begin("The system's text conversions",
               "What the texts above cost at least: the system's function called twice, for the "
               "length and for the text, into memory that is there.",
               {"", "to UTF-8 ns", "to UTF-16 ns"});
  const struct {
    const char* label;
    std::string utf8;
  } texts[] = {{"6 letters", "east-1"},
               {"255 letters", repeated("a", 255)},
               {"255 of 3 bytes", repeated("\xE4\xB8\xAD", 255)}};
  for (const auto& [label, utf8] : texts) {
    wchar_t wide[256];
    char narrow[768];
    int units = 0;
    const int bytes = static_cast<int>(utf8.size());
    const Timing toWide = timeOf([&] {
      units = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), bytes, nullptr, 0);
      units = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), bytes, wide, units);
    });
    const Timing toUtf8 = timeOf([&] {
      int size = WideCharToMultiByte(CP_UTF8, 0, wide, units, nullptr, 0, nullptr, nullptr);
      size = WideCharToMultiByte(CP_UTF8, 0, wide, units, narrow, size, nullptr, nullptr);
    });
    tables.add({label, number(toUtf8.medianNs, 0), number(toWide.medianNs, 0)},
               {{"label", label}, {"toUtf8Ns", toUtf8.medianNs}, {"toUtf16Ns", toWide.medianNs}});
  }
  for (const std::size_t size : {60U, 512U, 1024U, 4096U}) {
    const Timing block = timeOf([size] {
      // Volatile, or the compiler leaves out both.
      std::uint8_t* volatile bytes = new std::uint8_t[size];
      delete[] bytes;
    });
    const std::string label = "a block of " + std::to_string(size) + " bytes and its release";
    tables.add({label, number(block.medianNs, 0), "-"}, {{"label", label}, {"ns", block.medianNs}});
  }
}

}  // namespace orva_accelerator::bench
