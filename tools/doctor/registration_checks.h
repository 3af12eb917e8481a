// What the registration and the state of the service say about its health.
#pragma once

#include "tools/doctor/finding.h"
#include "tools/doctor/service_facts.h"

namespace orva_accelerator::tools {

// Pure functions: facts in, findings out.
Finding CheckRegistered(const ServiceFacts& facts);
Finding CheckDeletion(const ServiceFacts& facts);
Finding CheckStartType(const ServiceConfig& config);
Finding CheckAccount(const ServiceConfig& config);
Finding CheckSecurity(const ServiceFacts& facts, bool underWine);
Finding CheckState(const ServiceFacts& facts);

}  // namespace orva_accelerator::tools
