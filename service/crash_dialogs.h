// No window may tell a player that the service "has stopped working".
#pragma once

namespace orva_accelerator::service {

// From now on this process ends without any dialog, whatever ends it. A stop of the service ends
// it through std::terminate, so this is the ordinary case. Exit codes stay what they are: 3 for
// std::terminate, the exception's code for a fault.
void suppressCrashDialogs();

}  // namespace orva_accelerator::service
