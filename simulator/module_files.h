// The files that lie beside the library, wherever it was loaded from.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace orva_accelerator::simulator {

// Full path of `fileName` in the folder of this library.
std::wstring pathBesideLibrary(std::wstring_view fileName);

// This library, with one more reference, so that FreeLibrary cannot unload it until the reference
// is given back; null when the system refuses.
HMODULE holdLibrary();

}  // namespace orva_accelerator::simulator
