// orvactl as its users see it: a process with arguments, two outputs and an exit code.
#pragma once

#include <windows.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/client/fake_service.h"
#include "tests/support/child_process.h"

namespace orva_accelerator::test {

struct OrvactlResult {
  DWORD exitCode = 0;
  std::string out;
  std::string err;

  // The lines of `out`, each parsed.
  std::vector<nlohmann::json> jsonLines() const;
};

// One run. Arguments are UTF-8.
class OrvactlProcess {
 public:
  explicit OrvactlProcess(const std::vector<std::string>& arguments,
                          const wchar_t* program = L"orvactl.exe");

  // Waits for the end, at most three times kPatience: a run may have to time out by itself.
  OrvactlResult finish();

 private:
  ChildProcess process_;
};

OrvactlResult runOrvactl(const std::vector<std::string>& arguments);
// The edition for developers.
OrvactlResult runOrvactlDev(const std::vector<std::string>& arguments);

// As client 7 of a fake service, without looking for the real one.
std::vector<std::string> asClientOf(const FakeService& service, std::vector<std::string> arguments);

}  // namespace orva_accelerator::test
