#include "tools/version_resource.h"

#include <windows.h>

#include <cstdint>
#include <vector>

namespace orva_accelerator::tools {
namespace {

std::wstring textOf(const std::vector<std::uint8_t>& block, const wchar_t* name) {
  const std::wstring key = std::wstring(L"\\StringFileInfo\\040904B0\\") + name;
  void* text = nullptr;
  UINT length = 0;
  if (!VerQueryValueW(block.data(), key.c_str(), &text, &length)) return {};
  const std::wstring whole(static_cast<const wchar_t*>(text), length);
  return whole.substr(0, whole.find(L'\0'));
}

std::string versionOf(const std::vector<std::uint8_t>& block) {
  void* value = nullptr;
  UINT length = 0;
  if (!VerQueryValueW(block.data(), L"\\", &value, &length)) return "unknown";
  if (length < sizeof(VS_FIXEDFILEINFO)) return "unknown";
  const auto& numbers = *static_cast<const VS_FIXEDFILEINFO*>(value);
  std::string text;
  for (const DWORD two : {numbers.dwFileVersionMS, numbers.dwFileVersionLS}) {
    text +=
        (text.empty() ? "" : ".") + std::to_string(HIWORD(two)) + "." + std::to_string(LOWORD(two));
  }
  return text;
}

}  // namespace

std::optional<VersionResource> readVersionResource(const std::wstring& file) {
  DWORD ignored = 0;
  const DWORD size = GetFileVersionInfoSizeW(file.c_str(), &ignored);
  if (size == 0) return std::nullopt;
  std::vector<std::uint8_t> block(size);
  if (!GetFileVersionInfoW(file.c_str(), 0, size, block.data())) return std::nullopt;
  return VersionResource{textOf(block, L"ProductName"), textOf(block, L"OriginalFilename"),
                         textOf(block, L"FileDescription"), versionOf(block)};
}

bool isTheService(const VersionResource& resource) {
  return resource.product == L"Orva Accelerator Service" &&
         resource.originalName == L"OrvaAcceleratorService.exe";
}

bool isTheSimulatedLibrary(const VersionResource& resource) {
  return resource.description == L"Simulated acceleration library for development";
}

}  // namespace orva_accelerator::tools
