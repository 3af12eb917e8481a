// How many threads a process has.
#pragma once

#include <windows.h>

#include <cstddef>
#include <optional>

namespace orva_accelerator::test {

// 0 for a process that does not exist. Nothing if the system does not tell.
std::optional<std::size_t> threadCount(DWORD processId = GetCurrentProcessId());

}  // namespace orva_accelerator::test
