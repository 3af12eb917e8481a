#include "tests/service/expected_calls.h"

namespace orva_accelerator::service::test {

namespace {

std::string managerName(int number) {
  return "manager" + std::to_string(number);
}
std::string serviceName(int number) {
  return "service" + std::to_string(number);
}

std::string openService(int manager, const char* access) {
  return "OpenServiceW(" + managerName(manager) + ", \"OrvaAcceleratorService\", " + access + ")";
}

constexpr char kOpenManagerToConnect[] = "OpenSCManagerW(null, null, 0x1)";

}  // namespace

Calls joined(const std::vector<Calls>& parts) {
  Calls all;
  for (const Calls& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

Calls lookForPath() {
  return {"GetFileAttributesW(\"D:\\Games\\Orva Accelerator\\OrvaAcceleratorService.exe\")"};
}

Calls openForCreation() {
  return {"OpenSCManagerW(null, null, 0x2)"};
}

Calls create(int manager) {
  return {"CreateServiceW(" + managerName(manager) +
          ", \"OrvaAcceleratorService\", \"Orva Accelerator Service\", 0xF01FF, 0x10, 0x3, 0x1, "
          "\"D:\\Games\\Orva Accelerator\\OrvaAcceleratorService.exe\", "
          "null, null, null, null, null)"};
}

Calls openExisting(int manager) {
  return {openService(manager, "0xF01FF")};
}

Calls convertSecurity() {
  return {
      "ConvertStringSecurityDescriptorToSecurityDescriptorW("
      "\"D:(A;;CCLCSWRPWPDTLOCRRC;;;SY)(A;;CCDCLCSWRPWPDTLOCRSDRCWDWO;;;BA)(A;;0x20035;;;AU)\", "
      "0x1, null)"};
}

Calls applySecurity(int service) {
  return {"SetServiceObjectSecurity(" + serviceName(service) + ", 0x4, descriptor1)",
          "LocalFree(descriptor1)"};
}

// The description has 33 bytes in UTF-8 and fifteen units in UTF-16, the terminator
// included.
Calls convertDescription() {
  return {"MultiByteToWideChar(65001, 0x0, 33, null, 0)",
          "MultiByteToWideChar(65001, 0x0, 33, buffer, 15)"};
}

Calls writeDescription(int service) {
  return {"ChangeServiceConfig2W(" + serviceName(service) + ", 0x1, \"Orva 游戏加速器后台服务\")"};
}

Calls close(const std::string& kind, int number) {
  return {"CloseServiceHandle(" + kind + std::to_string(number) + ")"};
}

Calls closeBoth(int manager, int service) {
  return joined({close("service", service), close("manager", manager)});
}

Calls installation(int manager, int service) {
  return joined({lookForPath(), openForCreation(), create(manager), convertSecurity(),
                 applySecurity(service), convertDescription(), writeDescription(service),
                 closeBoth(manager, service)});
}

Calls installedQuestion(int manager, int service) {
  return joined({{kOpenManagerToConnect, openService(manager, "0x4"),
                  "QueryServiceStatus(" + serviceName(service) + ")"},
                 closeBoth(manager, service)});
}

Calls notInstalledQuestion(int manager) {
  return joined({{kOpenManagerToConnect, openService(manager, "0x4")}, close("manager", manager)});
}

Calls removal(int manager, int service) {
  return joined({{kOpenManagerToConnect, openService(manager, "0x10020")},
                 close("manager", manager),
                 {"ControlService(" + serviceName(service) + ", 0x1)",
                  "DeleteService(" + serviceName(service) + ")"},
                 close("service", service)});
}

}  // namespace orva_accelerator::service::test
