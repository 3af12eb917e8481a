// What the registration and the state of the service say about its health.
#pragma once

#include "tools/doctor/event_log.h"
#include "tools/doctor/finding.h"
#include "tools/doctor/service_facts.h"

namespace orva_accelerator::tools {

// Pure functions: facts in, findings out.
Finding checkRegistered(const ServiceFacts& facts);
Finding checkDeletion(const ServiceFacts& facts);
// These two want facts.config.
Finding checkStartType(const ServiceFacts& facts);
Finding checkAccount(const ServiceFacts& facts);
Finding checkSecurity(const ServiceFacts& facts, bool underWine);
// `ending` is what the event log tells: the manager calls a stop and a crash the same.
Finding checkState(const ServiceFacts& facts, const LoggedEnding& ending);

}  // namespace orva_accelerator::tools
