// What the registration and the state of the service say about its health.
#pragma once

#include "tools/doctor/finding.h"
#include "tools/doctor/service_facts.h"

namespace orva_accelerator::tools {

// Pure functions: facts in, findings out.
Finding checkRegistered(const ServiceFacts& facts);
Finding checkDeletion(const ServiceFacts& facts);
Finding checkStartType(const ServiceConfig& config);
Finding checkAccount(const ServiceConfig& config);
Finding checkSecurity(const ServiceFacts& facts, bool underWine);
Finding checkState(const ServiceFacts& facts);

}  // namespace orva_accelerator::tools
