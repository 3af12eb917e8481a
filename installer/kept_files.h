// A copy of what was installed before, kept until the installation has succeeded.
//
// Windows Installer takes back by itself what it has replaced. Others, Wine's for instance, only
// delete what they have put there, and an upgrade that fails would leave less than there was. So
// after everything has been taken back, whatever is still missing is put back from the copy.
#pragma once

#include <string>

namespace orva_accelerator::installer {

// Copies the files of the installation to a folder inside its own, where only administrators can
// write; a real acceleration library is left out, since nothing touches it. Does nothing without an
// installation. Returns what could not be copied; empty when all is well.
std::wstring keepFiles(const std::wstring& folder);

// Puts back what is missing or differs, and removes the copy. Returns what could not be put back;
// the copy then stays.
std::wstring putFilesBack(const std::wstring& folder);

// Removes the copy.
void forgetFiles(const std::wstring& folder);

}  // namespace orva_accelerator::installer
