// Under which name the service is known to the system.
#pragma once

namespace orva_accelerator::service {

inline constexpr wchar_t kServiceName[] = L"OrvaAcceleratorService";

}  // namespace orva_accelerator::service
