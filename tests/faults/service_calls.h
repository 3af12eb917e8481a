// Every Windows function that the service imports, and what becomes of the service when it fails.
//
// The list is compared with the import table of the built executable: a new call does not pass
// unnoticed, it needs a line here.
#pragma once

#include <span>

namespace orva_accelerator::test {

// What a client, or the service manager, sees when one call fails.
enum class Outcome {
  Unnoticed,         // Every answer and every notification comes as if nothing had happened.
  RetriedLater,      // The same, after the service has waited for 1000 ms and tried again.
  ConnectionEnded,   // At most one connection breaks; its client connects anew and is answered.
  AnswerLost,        // The same, and clients may have to give up connections that stay silent.
  InitialisedLater,  // One request to initialise is answered with -1, and the next one succeeds.
  NotStarted,        // The service stops at once, or never reports that it runs.
  NotListening,      // One pipe may not be there. The service can be stopped.
  ProcessEnds,       // Exit code 3, by std::terminate.
  ProcessExits,      // Exit code -1, after the message box.
};

// Calls that a running service makes. tests/faults/fault_stage.cpp says how each one fails.
struct ServiceCall {
  const char* function;
  Outcome outcome;
  const char* reason;
};
std::span<const ServiceCall> serviceCalls();

// Imports that no scripted run of the service can fail, each with the reason.
struct OtherImport {
  const char* function;
  const char* reason;
};
std::span<const OtherImport> otherServiceImports();
// What the C and C++ runtime libraries that are linked into the executable import for themselves.
std::span<const OtherImport> runtimeImports();

}  // namespace orva_accelerator::test
