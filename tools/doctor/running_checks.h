// Whether the service that runs can be reached, and is the one that answers.
#pragma once

#include "client/pipe_opener.h"
#include "client/request_channel.h"
#include "tools/doctor/finding.h"
#include "tools/doctor/registered_path.h"
#include "tools/doctor/service_facts.h"

namespace orva_accelerator::tools {

// The image of the running process against the registered executable.
Finding checkProcessImage(const ServiceFacts& facts, const RegisteredPath& registered);

// Whether the pipe can be opened, and is the service's. Nothing is sent. `check` names the finding.
Finding checkPipe(const char* check, client::Endpoint endpoint, const ServiceFacts& facts,
                  std::chrono::milliseconds timeout);

// The program that keeps the service running.
Finding checkHostApplication(const ServiceFacts& facts);

// A heartbeat, which changes nothing, and how long its answer took.
Finding checkHeartbeat(const client::Endpoint& endpoint, std::uint32_t clientId,
                       const ServiceFacts& facts, std::chrono::milliseconds timeout);

}  // namespace orva_accelerator::tools
