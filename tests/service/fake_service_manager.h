// A service control manager that writes down what it is asked, and says no on demand.
#pragma once

#include <windows.h>

#include <sddl.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/import_patch.h"

namespace orva_accelerator::service::test {

// While it exists, every system call that the service-management operations make is answered here;
// nothing reaches the system. Each call becomes one line of `calls`, in C-like notation:
//
//   OpenServiceW(manager1, "OrvaAcceleratorService", 0x10020)
//
// Handles are numbered by kind in the order of their opening. A result is not part of the line:
// calls succeed unless told otherwise. Closing a handle disturbs the last error on purpose.
class FakeServiceManager {
 public:
  FakeServiceManager();

  // Makes the given call of a function (counted from 1) fail with `error` as last error.
  void fail(const std::string& function, DWORD error, int call = 1);

  const std::vector<std::string>& calls() const { return calls_; }
  int count(const std::string& function) const;
  // Handles and descriptors that were handed out and not given back.
  std::vector<std::string> leaks() const;

  // What is found at the path that is to be installed.
  DWORD attributes = FILE_ATTRIBUTE_ARCHIVE;
  // What the executable's own path is.
  std::wstring ownPath = L"C:\\Game\\OrvaAcceleratorService.exe";
  // The path in the registration, which the configuration query answers.
  std::wstring registeredPath = ownPath;
  // Answers of the stop control and of each status query; the last one is repeated.
  DWORD stateAfterStop = SERVICE_STOP_PENDING;
  std::vector<DWORD> states = {SERVICE_STOPPED};
  // What the size query of the configuration reports instead of the right size, and the error with
  // which it ends; 0 for a query that succeeds.
  std::optional<DWORD> reportedSize;
  DWORD sizeQueryError = ERROR_INSUFFICIENT_BUFFER;
  // The buffer that the configuration was last to be written to.
  const void* configuration = nullptr;

 private:
  template <typename Function>
  using Hook = orva_accelerator::test::ImportHook<Function>;

  void answerManagerCalls();
  void answerServiceCalls();
  void answerConfigurationCalls();
  void answerSecurityCalls();
  void answerOtherCalls();

  // Writes the call down; false, with the last error set, when it is to fail.
  bool record(const std::string& function, const std::vector<std::string>& arguments);
  void* open(const std::string& kind);
  void close(void* handle);
  std::string nameOf(void* handle) const;
  DWORD nextState();
  BOOL answerConfiguration(QUERY_SERVICE_CONFIGW* config, DWORD size, DWORD* needed);

  std::vector<std::string> calls_;
  std::map<std::string, std::map<int, DWORD>> failures_;
  std::map<std::string, int> counts_;
  std::map<std::string, int> opened_;
  std::map<void*, std::string> handles_;
  std::size_t statesAsked_ = 0;

  Hook<decltype(GetFileAttributesW)> getFileAttributes_{"kernel32.dll", "GetFileAttributesW"};
  Hook<decltype(GetModuleFileNameW)> getModuleFileName_{"kernel32.dll", "GetModuleFileNameW"};
  Hook<decltype(MultiByteToWideChar)> multiByteToWideChar_{"kernel32.dll", "MultiByteToWideChar"};
  Hook<decltype(CompareStringOrdinal)> compareString_{"kernel32.dll", "CompareStringOrdinal"};
  Hook<decltype(LocalFree)> localFree_{"kernel32.dll", "LocalFree"};
  Hook<decltype(Sleep)> sleep_{"kernel32.dll", "Sleep"};
  Hook<decltype(OpenSCManagerW)> openManager_{"advapi32.dll", "OpenSCManagerW"};
  Hook<decltype(OpenServiceW)> openService_{"advapi32.dll", "OpenServiceW"};
  Hook<decltype(CreateServiceW)> createService_{"advapi32.dll", "CreateServiceW"};
  Hook<decltype(DeleteService)> deleteService_{"advapi32.dll", "DeleteService"};
  Hook<decltype(ControlService)> controlService_{"advapi32.dll", "ControlService"};
  Hook<decltype(QueryServiceStatus)> queryStatus_{"advapi32.dll", "QueryServiceStatus"};
  Hook<decltype(QueryServiceConfigW)> queryConfig_{"advapi32.dll", "QueryServiceConfigW"};
  Hook<decltype(ChangeServiceConfigW)> changeConfig_{"advapi32.dll", "ChangeServiceConfigW"};
  Hook<decltype(ChangeServiceConfig2W)> changeConfig2_{"advapi32.dll", "ChangeServiceConfig2W"};
  Hook<decltype(SetServiceObjectSecurity)> setSecurity_{"advapi32.dll", "SetServiceObjectSecurity"};
  Hook<decltype(ConvertStringSecurityDescriptorToSecurityDescriptorW)> convertSecurity_{
      "advapi32.dll", "ConvertStringSecurityDescriptorToSecurityDescriptorW"};
  Hook<decltype(CloseServiceHandle)> closeHandle_{"advapi32.dll", "CloseServiceHandle"};
};

}  // namespace orva_accelerator::service::test
