// The lines of FakeServiceManager that the operations are made of. Numbers are those of the
// manager and service handles that take part, counted from 1 in the order of their opening.
#pragma once

#include <string>
#include <vector>

namespace orva_accelerator::service::test {

using Calls = std::vector<std::string>;

Calls joined(const std::vector<Calls>& parts);

// The parts of an installation of kInstalledPath.
inline constexpr wchar_t kInstalledPath[] =
    L"D:\\Games\\Orva Accelerator\\OrvaAcceleratorService.exe";
Calls lookForPath();
Calls openForCreation();
Calls create(int manager = 1);
Calls openExisting(int manager = 1);
Calls convertSecurity();
Calls applySecurity(int service = 1);
Calls convertDescription();
Calls writeDescription(int service = 1);
Calls close(const std::string& kind, int number = 1);
// The service first.
Calls closeBoth(int manager = 1, int service = 1);

// Whole operations.
Calls installation(int manager = 1, int service = 1);
Calls installedQuestion(int manager = 1, int service = 1);
// The same when the service cannot be opened.
Calls notInstalledQuestion(int manager = 1);
// Removal of a service that does not run.
Calls removal(int manager = 1, int service = 1);

}  // namespace orva_accelerator::service::test
