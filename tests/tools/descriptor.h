// A security descriptor from its text.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <sddl.h>

#include <cstdint>
#include <vector>

#include "win32/unique_handle.h"

namespace orva_accelerator::test {

class Descriptor {
 public:
  explicit Descriptor(const wchar_t* text) {
    PSECURITY_DESCRIPTOR converted = nullptr;
    EXPECT_TRUE(ConvertStringSecurityDescriptorToSecurityDescriptorW(text, SDDL_REVISION_1,
                                                                     &converted, nullptr))
        << GetLastError();
    memory_.reset(converted);
  }
  std::vector<std::uint8_t> bytes() const {
    const auto* first = static_cast<const std::uint8_t*>(memory_.get());
    return {first, first + GetSecurityDescriptorLength(memory_.get())};
  }

 private:
  win32::UniqueLocalMemory memory_;
};

}  // namespace orva_accelerator::test
