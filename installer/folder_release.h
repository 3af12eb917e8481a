// Brings everything to an end that keeps files of an installation in use.
#pragma once

#include <chrono>
#include <string>

namespace orva_accelerator::installer {

// Asks the registered service to stop, as often as somebody starts it again, until no process of
// the service is left, wherever its executable lies: there is one service of this name, and after
// the installation it is to be ours. The processes are watched rather than the manager's state,
// because a service that ends without reporting it may keep its last state.
// False when one is still there after `limit`; no process is ended by force, because the service
// may be busy taking an acceleration down.
bool stopService(std::chrono::milliseconds limit);

// Ends the orvactl programs that run from `folder`, which lose nothing by it. False when one
// is still there after `limit`.
bool endTools(const std::wstring& folder, std::chrono::milliseconds limit);

}  // namespace orva_accelerator::installer
