// What a program or library says that it is.
#pragma once

#include <optional>
#include <string>

namespace orva_accelerator::tools {

struct VersionResource {
  std::wstring product;
  std::wstring originalName;
  std::wstring description;  // These three in English; empty where it has no such text.
  std::string version;       // "1.2.3.4".
};

// Nothing for a file that is not there or has none. Nothing of the file is executed.
std::optional<VersionResource> readVersionResource(const std::wstring& file);

bool isTheService(const VersionResource& resource);
bool isTheSimulatedLibrary(const VersionResource& resource);

}  // namespace orva_accelerator::tools
