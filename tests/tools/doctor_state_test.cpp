// Whether the doctor takes an end for a stop or for a crash.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

#include "service/shared_names.h"
#include "tools/doctor/registration_checks.h"

namespace orva_accelerator::test {
namespace {

using namespace tools;

ServiceFacts stoppedWith(DWORD exitCode) {
  ServiceFacts facts;
  facts.toolFile = L"C:\\Orva\\orvactl.exe";
  facts.status = SERVICE_STATUS_PROCESS{};
  facts.status->dwCurrentState = SERVICE_STOPPED;
  facts.status->dwWin32ExitCode = exitCode;
  return facts;
}

TEST(State, FollowsTheManagerAndTheProcess) {
  ServiceFacts facts = stoppedWith(ERROR_SERVICE_NEVER_STARTED);
  EXPECT_EQ(checkState(facts, {}).verdict, Verdict::Ok);
  facts = stoppedWith(ERROR_ACCESS_DENIED);
  const Finding failed = checkState(facts, {});
  EXPECT_EQ(failed.verdict, Verdict::Warning);
  EXPECT_NE(failed.advice.find("\"C:\\Orva\\orvactl.exe\" service start"), std::string::npos)
      << failed.advice;
  facts.status->dwCurrentState = SERVICE_RUNNING;
  EXPECT_EQ(checkState(facts, {}).text.find("stopped"), 0u);
  facts.processLives = true;
  EXPECT_EQ(checkState(facts, {}).text.find("running"), 0u);
  facts.status->dwCurrentState = SERVICE_STOP_PENDING;
  EXPECT_EQ(checkState(facts, {}).verdict, Verdict::Warning);
}

constexpr std::int64_t kNoon = 1'800'000'000;

LoggedEvent fault(std::int64_t time) {
  return {L"Application Error",
          1000,
          time,
          {L"orvaacceleratorservice.EXE", L"1.2.0.0", L"0", L"OpenKernel.dll", L"3.0.0.0", L"0",
           L"c0000005", L"1234"}};
}
LoggedEvent unexpectedEnd(std::uint32_t id, std::int64_t time) {
  return {L"Service Control Manager", id, time, {L"Orva Accelerator Service", L"1"}};
}

// Logs with these events, the newest first.
LoggedEnding endingIn(const std::vector<LoggedEvent>& system,
                      const std::vector<LoggedEvent>& application) {
  return findLoggedEnding(
      [&](const std::wstring& log, const EventVisitor& visit) {
        for (const LoggedEvent& event : log == L"System" ? system : application) {
          if (!visit(event)) break;
        }
        return DWORD{0};
      },
      service::kServiceDisplayName, L"OrvaAcceleratorService.exe");
}

Finding stateAfter(const LoggedEnding& ending) {
  return checkState(stoppedWith(ERROR_PROCESS_ABORTED), ending);
}

TEST(State, IsFineWhenTheLogHasNoFault) {
  EXPECT_EQ(stateAfter(endingIn({}, {})).verdict, Verdict::Ok);
  const Finding stopped = stateAfter(endingIn({unexpectedEnd(7034, kNoon)}, {}));
  EXPECT_EQ(stopped.verdict, Verdict::Ok);
  EXPECT_EQ(stopped.text,
            "stopped; no fault is in the event log, and its event 7034 of 2027-01-15 08:00:00 UTC "
            "is what a stop looks like");
  // An older crash, and a stop since then.
  EXPECT_EQ(stateAfter(endingIn({unexpectedEnd(7034, kNoon)}, {fault(kNoon - 61)})).verdict,
            Verdict::Ok);
}

TEST(State, TellsACrashFromAStop) {
  const Finding crashed = stateAfter(endingIn({unexpectedEnd(7031, kNoon), unexpectedEnd(7034, 1)},
                                              {fault(kNoon - 59), fault(2)}));
  EXPECT_EQ(crashed.verdict, Verdict::Warning);
  EXPECT_EQ(crashed.text,
            "ended by a fault: application error 1000 of 2027-01-15 07:59:01 UTC, module "
            "OpenKernel.dll, exception c0000005");
  EXPECT_EQ(stateAfter(endingIn({}, {fault(kNoon)})).verdict, Verdict::Warning);
}

TEST(State, TellsACrashFromAStopWhenTheManagerHasNotNoticedTheEnd) {
  ServiceFacts facts = stoppedWith(0);
  facts.status->dwCurrentState = SERVICE_RUNNING;
  EXPECT_EQ(checkState(facts, endingIn({}, {fault(kNoon)})).verdict, Verdict::Warning);
  // A reported end is none, whatever the log remembers.
  EXPECT_EQ(checkState(stoppedWith(0), endingIn({}, {fault(kNoon)})).text, "stopped");
}

TEST(State, PassesOverTheEventsOfOthers) {
  LoggedEvent otherProgram = fault(kNoon);
  otherProgram.texts.front() = L"other.exe";
  LoggedEvent otherId = fault(kNoon);
  otherId.id = 1001;
  LoggedEvent otherSource = fault(kNoon);
  otherSource.source = L"Anybody";
  LoggedEvent wordless = fault(kNoon);
  wordless.texts.clear();
  EXPECT_EQ(stateAfter(endingIn({}, {otherProgram, otherId, otherSource, wordless})).verdict,
            Verdict::Ok);
  LoggedEvent otherService = unexpectedEnd(7034, kNoon);
  otherService.texts.front() = L"Other";
  EXPECT_FALSE(endingIn({otherService, unexpectedEnd(7036, kNoon)}, {}).ended);
}

TEST(State, SaysWhenTheLogCannotBeRead) {
  const auto denied = [](const wchar_t*, const EventVisitor&) {
    return DWORD{ERROR_ACCESS_DENIED};
  };
  const Finding finding = stateAfter(findLoggedEnding(denied, L"", L""));
  EXPECT_EQ(finding.verdict, Verdict::Ok);
  EXPECT_NE(finding.text.find("cannot be read (Win32 error 5)"), std::string::npos);
}

// Records as ReadEventLogW gives them.
std::vector<std::uint8_t> record(std::uint32_t id, const std::wstring& source,
                                 const std::wstring& text) {
  const std::wstring units = source + L'\0' + L"COMPUTER" + L'\0' + text + L'\0';
  EVENTLOGRECORD header{};
  header.Length = static_cast<DWORD>(sizeof(header) + units.size() * sizeof(wchar_t));
  header.EventID = id;
  header.TimeGenerated = 42;
  header.NumStrings = 1;
  header.StringOffset = static_cast<DWORD>(sizeof(header) + (source.size() + 10) * sizeof(wchar_t));
  std::vector<std::uint8_t> bytes(header.Length);
  std::memcpy(bytes.data(), &header, sizeof(header));
  std::memcpy(bytes.data() + sizeof(header), units.data(), units.size() * sizeof(wchar_t));
  return bytes;
}

TEST(EventLog, TakesRecordsApart) {
  std::vector<std::uint8_t> two = record(0xC0001B7A, L"Service Control Manager", L"Orva");
  const auto second = record(1000, L"B", L"C");
  two.insert(two.end(), second.begin(), second.end());
  std::vector<LoggedEvent> events;
  EXPECT_TRUE(visitRecords(two, [&events](const LoggedEvent& event) {
    events.push_back(event);
    return true;
  }));
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0].id, 7034u);
  EXPECT_EQ(events[0].time, 42);
  EXPECT_EQ(events[0].source, L"Service Control Manager");
  EXPECT_EQ(events[0].texts, std::vector<std::wstring>{L"Orva"});
  EXPECT_EQ(events[1].texts, std::vector<std::wstring>{L"C"});
  EXPECT_FALSE(visitRecords(two, [](const LoggedEvent&) { return false; }));
}

TEST(EventLog, TakesNoRecordWithFewerTextsThanItCounts) {
  auto lying = record(1000, L"Application Error", L"x.exe");
  lying.at(offsetof(EVENTLOGRECORD, NumStrings)) = 2;
  EXPECT_FALSE(visitRecords(lying, [](const LoggedEvent&) { return true; }));
}

TEST(EventLog, SurvivesEveryByteOfARecordBeingALie) {
  const auto whole = record(1000, L"Application Error", L"x.exe");
  for (std::size_t at = 0; at < whole.size(); ++at) {
    for (const int lie : {0x00, 0x7F, 0x80, 0xFF}) {
      auto lying = whole;
      lying[at] = static_cast<std::uint8_t>(lie);
      (void)visitRecords(lying, [](const LoggedEvent&) { return true; });
    }
    EXPECT_EQ(visitRecords(std::span(whole).first(at), [](const LoggedEvent&) { return true; }),
              at == 0);
  }
}

}  // namespace
}  // namespace orva_accelerator::test
