// Something to read for what reads from standard input.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <string_view>

#include "win32/unique_handle.h"

namespace orva_accelerator::test {

// Standard input that holds `bytes` and then ends, while this lives.
class StandardInput {
 public:
  explicit StandardInput(std::string_view bytes) {
    HANDLE read = nullptr;
    HANDLE write = nullptr;
    EXPECT_TRUE(CreatePipe(&read, &write, nullptr, 0)) << GetLastError();
    read_.reset(read);
    const win32::UniqueKernelHandle end(write);
    DWORD written = 0;
    EXPECT_TRUE(
        WriteFile(write, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr));
    EXPECT_TRUE(SetStdHandle(STD_INPUT_HANDLE, read_.get()));
  }
  StandardInput(const StandardInput&) = delete;
  StandardInput& operator=(const StandardInput&) = delete;
  ~StandardInput() { EXPECT_TRUE(SetStdHandle(STD_INPUT_HANDLE, before_)); }

 private:
  HANDLE before_ = GetStdHandle(STD_INPUT_HANDLE);
  win32::UniqueKernelHandle read_;
};

}  // namespace orva_accelerator::test
