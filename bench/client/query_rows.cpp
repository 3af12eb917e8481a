#include <fstream>
#include <stdexcept>
#include <string>

#include "bench/client/pipe_client.h"
#include "bench/client/rows.h"
#include "ipc/wire/messages.h"
#include "ipc/wire/requests.h"

namespace orva_accelerator::bench {

namespace {

using Bytes = std::vector<std::uint8_t>;
using Json = nlohmann::ordered_json;

constexpr std::uint32_t kGame = 7;
constexpr std::uint32_t kArea = 1;
constexpr int kLongestText = 255;  // UTF-16 units.
constexpr const char kWideCharacter[] = "\xE4\xB8\xAD";

struct Texts {
  const char* label;
  int units;
  int usedNodes;

  std::string text() const {
    std::string text;
    for (int i = 0; i < units; ++i) text += kWideCharacter;
    return text;
  }
};
constexpr Texts kShort = {"short", 4, 1};
constexpr Texts kLongest = {"longest", kLongestText, 10};

// One game whose every text is the same. The login is reported inside its call: its notifications
// have gone out when the request is answered.
void writeScenario(const std::string& path, const Texts& texts) {
  const std::string text = texts.text();
  const Json node = {{"nodeId", 11}, {"text", text}, {"value1", 1}, {"value2", 2}, {"value3", 3}};
  const Json used = {{"used1", 1}, {"used2", 2},    {"text1", text},
                     {"used3", 3}, {"text2", text}, {"used4", 4}};
  const Json game = {
      {"gameId", kGame},
      {"number", 1},
      {"text", text},
      {"lastAccel", {{"areaId", kArea}, {"infoText", text}, {"serverKey", text}, {"nodeId", 11}}},
      {"servers",
       Json::array(
           {{{"areaId", kArea}, {"key", text}, {"text", text}, {"nodes", Json::array({node})}}})},
      {"usedNodes", Json(static_cast<std::size_t>(texts.usedNodes), used)},
  };
  const Json login = {{"completions", Json::array({{{"inline", true}, {"code", 0}}})}};
  const Json scenario = {
      {"log", {{"enabled", false}}},
      {"watch", false},
      {"functions", {{"Kernel_UserLoginFromAccount", login}}},
      {"catalogue",
       {{"replace", true},
        {"games", Json::array({game})},
        {"accelData", {{"value2", kGame}, {"text3", text}}}}},
  };
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << scenario.dump(1);
  file.close();
  if (!file) throw std::runtime_error("cannot write " + path);
}

template <typename Fixed>
Bytes payloadOf(const Fixed& fixed, const std::string& text = {}) {
  const auto* const first = reinterpret_cast<const std::uint8_t*>(&fixed);
  Bytes bytes(first, first + sizeof(fixed));
  bytes.insert(bytes.end(), text.begin(), text.end());
  return bytes;
}

std::uint32_t ask(RequestPipe& pipe, std::uint32_t type, const Bytes& payload) {
  pipe.send(type, payload);
  return static_cast<std::uint32_t>(pipe.receive().size());
}

// The library reads its scenario when it is initialised.
void initialise(RequestPipe& pipe) {
  (void)ask(pipe, ipc::MsgSdkRelease, {});  // It may not have been initialised.
  pipe.send(ipc::MsgSdkInit, payloadOf(ipc::SdkInitRequest{1, 0, 0, 0}));
  const Bytes& result = pipe.receive();
  if (result != Bytes{1, 0, 0, 0}) throw std::runtime_error("the library is not initialised");
}

struct Query {
  std::string label;
  std::uint32_t type;
  Bytes payload;
};

std::vector<Query> queriesWith(const Texts& texts) {
  const std::string key = texts.text();
  const Bytes game = payloadOf(ipc::GameRequest{kGame});
  const ipc::TestSpeedRequest speed = {kGame, kArea, static_cast<std::uint16_t>(key.size()), 0, 0};
  return {{"heartbeat", ipc::MsgHeartbeat, {}},
          {"is initialised", ipc::MsgSdkIsInitialised, {}},
          {"owner", ipc::MsgQueryAccelOwner, {}},
          {"console data", ipc::MsgGetConsoleData, {}},
          {"acceleration data", ipc::MsgGetAccelData, {}},
          {"last acceleration", ipc::MsgGetGameLastAccelInfo, game},
          {"acceleration info", ipc::MsgGetGameAccelInfo, game},
          {"speed test", ipc::MsgGetTestSpeedData, payloadOf(speed, key)},
          {"used nodes", ipc::MsgGetGameUsedNodeList, game}};
}

Slot askOften(RequestPipe& pipe, const Query& query, int requests) {
  Slot slot;
  const Stopwatch whole;
  for (int i = 0; i < requests; ++i) {
    const Stopwatch one;
    (void)ask(pipe, query.type, query.payload);  // Tests look at the content.
    slot.latenciesUs.push_back(one.elapsedUs());
  }
  slot.operations = requests;
  slot.seconds = whole.elapsedUs() / 1e6;
  return slot;
}

void measureTexts(const Plan& plan, const Texts& texts, RequestPipe& pipe, Report& report) {
  const int requests = std::max(1, plan.requests / 5);
  const std::vector<Query> queries = queriesWith(texts);
  const auto measure = [&](std::size_t query) { return askOften(pipe, queries[query], requests); };
  for (std::size_t i = 0; i < queries.size(); ++i) (void)measure(i);
  const Rounds rounds = runRounds(plan.rounds, queries.size(), measure);
  for (std::size_t i = 0; i < queries.size(); ++i) {
    std::vector<double> beyond;
    for (std::size_t round = 0; round < rounds[i].size(); ++round) {
      beyond.push_back(p50Us(rounds[i][round]) - p50Us(rounds[0][round]));
    }
    const double perSecond = median(figures(rounds[i], operationsPerSecond));
    const double p50 = median(figures(rounds[i], p50Us));
    const double p99 = median(figures(rounds[i], p99Us));
    const std::uint32_t answer = ask(pipe, queries[i].type, queries[i].payload);
    const std::string label = queries[i].label + ", " + texts.label;
    report.addRow({label, std::to_string(queries[i].payload.size()), std::to_string(answer),
                   number(perSecond, 0), number(p50, 0), number(p99, 0), number(median(beyond), 0)},
                  {{"label", label},
                   {"perSecond", perSecond},
                   {"p50Us", p50},
                   {"p99Us", p99},
                   {"beyondHeartbeatUs", median(beyond)},
                   {"answerBytes", answer}});
  }
}

}  // namespace

void measureQueries(const Plan& plan, Report& report) {
  report.beginTable(
      "Queries",
      "The service alone, one connection, with the simulated library. Short texts have 4 "
      "characters, the longest 255, each of 3 bytes; the list has 1 and 10 nodes. The last column "
      "is the p50 beyond that of the heartbeat in the same round: one more read for a payload, the "
      "library's own time, and the bytes' way through the pipe.",
      {"", "payload", "answer", "/s", "p50 µs", "p99 µs", "beyond heartbeat µs"});
  RequestPipe pipe(plan.servers[Product].requestPipe);
  for (const Texts& texts : {kShort, kLongest}) {
    writeScenario(plan.scenarioPath, texts);
    initialise(pipe);
    measureTexts(plan, texts, pipe, report);
  }
  // The first login's outcome reaches nobody: its callback is installed after the library's call.
  (void)ask(pipe, ipc::MsgUserLogin, Bytes(4));
}

}  // namespace orva_accelerator::bench
