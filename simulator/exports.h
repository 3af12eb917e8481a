// The functions that have a behaviour, declared with the types through which the service calls
// them, so that a definition that differs does not compile.
//
// Nothing here is marked for export: the module definition file, made from the list of names in
// sdk/kernel_function_names.h, is what decides which names the library offers.
#pragma once

#include <type_traits>

#include "sdk/kernel_api.h"

extern "C" {

#define ORVA_SIMULATED(name, ...) \
  std::remove_pointer_t<orva_accelerator::sdk::signature::name> name;
ORVA_CALLED_KERNEL_FUNCTIONS(ORVA_SIMULATED)
#undef ORVA_SIMULATED

}  // extern "C"
