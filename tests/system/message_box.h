// The message box of a process that nobody sits in front of.
#pragma once

#include <optional>
#include <string>

namespace orva_accelerator::test {

// Looks for a message box with this caption, given and compared in bytes, on the desktops of all
// window stations: a service's boxes are shown on a desktop of its own, apart from everybody's.
// What its text is, in bytes; nothing while there is no such box.
std::optional<std::string> shownMessageBox(const char* caption);

// Presses its button. False when there is no such box.
[[nodiscard]] bool dismissMessageBox(const char* caption);

}  // namespace orva_accelerator::test
