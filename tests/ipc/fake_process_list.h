// A list of running programs instead of the system's.
#pragma once

#include <windows.h>

// After <windows.h>, which it needs.
#include <gtest/gtest.h>
#include <tlhelp32.h>

#include <cwchar>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/import_patch.h"

namespace orva_accelerator::test {

class FakeProcessList {
 public:
  explicit FakeProcessList(std::vector<std::wstring> names = {}) : names_(std::move(names)) {
    snapshot_.replace([this](DWORD flags, DWORD processId) -> HANDLE {
      EXPECT_EQ(flags, 2U);
      EXPECT_EQ(processId, 0U);
      ++open_;
      return CreateEventA(nullptr, TRUE, FALSE, nullptr);  // Something that can be closed.
    });
    first_.replace([this](HANDLE, PROCESSENTRY32W* entry) -> BOOL {
      EXPECT_EQ(entry->dwSize, 568U);
      next_ = 0;
      return fill(entry);
    });
    nextOne_.replace([this](HANDLE, PROCESSENTRY32W* entry) -> BOOL { return fill(entry); });
    close_.replace([this](HANDLE handle) -> BOOL {
      --open_;
      return close_.callOriginal(handle);
    });
  }

  void set(std::vector<std::wstring> names) { names_ = std::move(names); }
  void failSnapshot() { snapshot_.failAllCalls(ERROR_ACCESS_DENIED, INVALID_HANDLE_VALUE); }
  void failFirst() { first_.failAllCalls(ERROR_BAD_LENGTH, FALSE); }
  std::size_t searches() const { return snapshot_.callCount(); }
  // How many handles have been made here and not closed. Counts right only while nothing else in
  // the process closes handles.
  int openSnapshots() const { return open_; }

 private:
  BOOL fill(PROCESSENTRY32W* entry) {
    if (next_ == names_.size()) {
      SetLastError(ERROR_NO_MORE_FILES);
      return FALSE;
    }
    const std::wstring& name = names_[next_++];
    std::wmemset(entry->szExeFile, L'#', MAX_PATH);  // Left over from a longer name.
    std::wmemcpy(entry->szExeFile, name.c_str(), name.size() + 1);
    return TRUE;
  }

  std::vector<std::wstring> names_;
  std::size_t next_ = 0;
  int open_ = 0;
  ImportHook<decltype(CreateToolhelp32Snapshot)> snapshot_{"kernel32.dll",
                                                           "CreateToolhelp32Snapshot"};
  ImportHook<BOOL(HANDLE, PROCESSENTRY32W*)> first_{"kernel32.dll", "Process32FirstW"};
  ImportHook<BOOL(HANDLE, PROCESSENTRY32W*)> nextOne_{"kernel32.dll", "Process32NextW"};
  ImportHook<decltype(CloseHandle)> close_{"kernel32.dll", "CloseHandle"};
};

}  // namespace orva_accelerator::test
