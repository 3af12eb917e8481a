// The names that programs beside the service share with it: the service's own, and what its
// library must export.
#pragma once

#include "sdk/kernel_function_names.h"
#include "service/service_identity.h"
