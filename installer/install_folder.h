// Whom the folder of the installation belongs to, and who may write it.
//
// The service runs with all rights on the computer, from this folder, and loads a library from
// below it. Whoever may write here owns the computer.
#pragma once

#include <string>

namespace orva_accelerator::installer {

// Whether a folder that was there before may be used: not a link to somewhere else, and owned by
// the system, the administrators, Windows' own installer or the account that asks. Everybody else
// could have put something into it, and could give himself access again. True when there is no
// folder.
bool isOwnFolder(const std::wstring& folder);

// Gives the folder and everything below it the access list of a fresh one: what the folder above
// bequeaths, and nothing else. Files of other owners go to the administrators. Links are not
// followed. Returns what could not be set; empty when all is well, also without a folder.
std::wstring secureFolder(const std::wstring& folder);

}  // namespace orva_accelerator::installer
