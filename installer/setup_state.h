// What the first step of an installation finds out and the later ones are told.
#pragma once

#include <optional>
#include <string>

#include "installer/registered_service.h"

namespace orva_accelerator::installer {

struct SetupState {
  std::wstring folder;  // of the installation, without a backslash at the end
  std::wstring language;
  std::optional<RegisteredService> service;  // as it was registered before
};

// Later steps run in another process and get one line of text each.
std::wstring toData(const SetupState& state);
SetupState fromData(const std::wstring& data);

}  // namespace orva_accelerator::installer
