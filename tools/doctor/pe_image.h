// What a Windows executable or library says about itself, read from its bytes.
//
// The file is never loaded: loading runs its code, and one that is damaged or foreign is what the
// doctor is called for. Every offset and count in it is taken for a lie until it has been checked.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace orva_accelerator::tools {

struct PeImage {
  std::uint16_t machine = 0;
  bool is64Bit = false;  // x86-64 code in the 64-bit format.
  bool isLibrary = false;
  std::vector<std::string> exports;  // Names; those by number alone are left out.
  std::vector<std::string> imports;  // The libraries without which it is not loaded.
};

struct PeReading {
  std::optional<PeImage> image;
  std::string trouble;  // Why there is no image.
};

PeReading readPe(std::span<const std::uint8_t> file);

// 0 or the Win32 error for which the file cannot be read.
std::uint32_t readPeFile(const std::wstring& path, PeReading& reading);

}  // namespace orva_accelerator::tools
