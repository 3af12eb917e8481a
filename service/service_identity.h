// Under which name the service is known to the system, and what its registration says.
#pragma once

namespace orva_accelerator::service {

inline constexpr wchar_t kServiceName[] = L"OrvaAcceleratorService";
inline constexpr wchar_t kServiceDisplayName[] = L"Orva Accelerator Service";

// UTF-8; converted when the registration is written.
inline constexpr char kServiceDescriptionUtf8[] = "Orva 游戏加速器后台服务";

// Who may do what with the service. A discretionary list of three grants; whoever is not named
// gets nothing.
//
// LocalSystem, under which the service runs: query the configuration (CC) and status (LC),
// enumerate dependants (SW), start (RP), stop (WP), pause and continue (DT), interrogate (LO), send
// user-defined controls (CR), read this list (RC). It can neither reconfigure nor delete.
//
// Administrators: the same, and change the configuration (DC), delete (SD), write this list (WD),
// take ownership (WO).
//
// Authenticated Users: the client runs without elevation and starts and stops the service itself.
// 0x20035 is READ_CONTROL 0x20000, SERVICE_STOP 0x20, SERVICE_START 0x10, SERVICE_QUERY_STATUS 0x4
// and SERVICE_QUERY_CONFIG 0x1. Nothing that would let a user choose what LocalSystem executes.
inline constexpr wchar_t kServiceSecurity[] =
    L"D:"
    L"(A;;CCLCSWRPWPDTLOCRRC;;;SY)"
    L"(A;;CCDCLCSWRPWPDTLOCRSDRCWDWO;;;BA)"
    L"(A;;0x20035;;;AU)";

}  // namespace orva_accelerator::service
