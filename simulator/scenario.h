// How the library is to behave: what a scenario file says, or the default.
//
// docs/simulator.md describes the file key by key.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/call_log.h"
#include "simulator/catalogue.h"

namespace orva_accelerator::simulator {

// A text of a start result: the library may also give none.
struct ResultText {
  bool null = false;
  std::wstring text;
};

// One step of what follows an accepted call: one or more deliveries to the completion function.
struct CompletionStep {
  bool isInline = false;      // Inside the call.
  std::uint32_t afterMs = 0;  // Wait before it, from the step before or from the call.
  std::uint32_t times = 1;    // Deliveries one after the other, on each thread.
  std::uint32_t threads = 1;  // Threads that deliver at the same time.
  std::int32_t code = 0;      // Login and stop.
  // Start results. What is absent is what the accelerator would report by itself.
  bool nullRecord = false;
  std::uint32_t state = 0;
  std::optional<std::uint32_t> value1, value2, value3, value4, value5;
  std::optional<ResultText> text1, text2;
};

// One of the two calls of a list function.
struct ListCall {
  bool refuse = false;
  std::optional<std::uint32_t> count;  // Reported instead of the true count.
};

struct CallBehaviour {
  std::uint8_t result = 1;
  std::uint32_t blockMs = 0;   // Before the call returns.
  std::optional<DWORD> raise;  // Structured exception raised inside the call.
  std::optional<std::vector<CompletionStep>> completions;  // Absent: the function's own.
  bool survivesStop = false;  // Start results go on after a stop or another start.
  ListCall countingCall;
  ListCall fillingCall;
};

struct Scenario {
  LogSettings log;
  bool watch = true;  // Read the file again when it has changed, not only at Kernel_Init.
  Catalogue catalogue;
  // The nth call uses the nth behaviour, and the last one from then on. Never empty lists.
  std::map<std::string, std::vector<CallBehaviour>, std::less<>> functions;
};

Scenario defaultScenario();

// Reads the text of a scenario file. Raises std::runtime_error whose text says what is wrong and
// where; nothing in the text is ignored, so that a misspelt key cannot go unnoticed.
Scenario parseScenario(std::string_view text);

}  // namespace orva_accelerator::simulator
