#include "tools/doctor/library_imports.h"

#include <windows.h>

#include <algorithm>
#include <cctype>

#include "tools/doctor/finding.h"
#include "win32/utf8.h"

namespace orva_accelerator::tools {
namespace {

// As many as are looked at; no library comes near it.
constexpr std::size_t kMostLibraries = 64;

std::wstring systemFolder() {
  wchar_t folder[MAX_PATH];
  const UINT length = GetSystemDirectoryW(folder, MAX_PATH);
  return length < MAX_PATH ? std::wstring(folder, length) : std::wstring();
}

bool isFile(const std::wstring& path) {
  const DWORD attributes = GetFileAttributesW(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

std::string lowerCase(std::string name) {
  std::ranges::transform(name, name.begin(),
                         [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return name;
}

// Names for parts of Windows, which are not files.
bool isPartOfWindows(const std::string& name) {
  return name.starts_with("api-ms-") || name.starts_with("ext-ms-");
}

class Imports {
 public:
  explicit Imports(const std::vector<std::wstring>& folders) : folders_(folders) {}

  std::string troubleOf(const PeImage& library) {
    add(library);
    for (std::size_t next = 0; next < names_.size() && next < kMostLibraries; ++next) {
      const std::string trouble = examine(names_[next]);
      if (!trouble.empty()) return trouble;
    }
    return {};
  }

 private:
  void add(const PeImage& library) {
    for (const std::string& import : library.imports) {
      const std::string name = lowerCase(import);
      if (std::ranges::find(names_, name) == names_.end()) names_.push_back(name);
    }
  }

  std::string examine(const std::string& name) {
    if (isPartOfWindows(name)) return {};
    const auto wide = win32::wideFromUtf8(name);
    // A path could lead to another computer, which would be shown who asks.
    if (!wide || name.find_first_of("\\/:") != std::string::npos) {
      return "\"" + name + "\", which is no library's name";
    }
    for (const std::wstring& folder : folders_) {
      const std::wstring path = folder + L"\\" + *wide;
      if (!isFile(path)) continue;
      PeReading reading;
      if (readPeFile(path, reading) != 0) return {};  // Somebody else may be able to read it.
      if (!reading.image || !reading.image->is64Bit || !reading.image->isLibrary) {
        return name + ", and " + utf8(path) + " is no undamaged 64-bit library";
      }
      add(*reading.image);
      return {};
    }
    if (isFile(system_ + L"\\" + *wide)) return {};
    return name + ", which is neither beside it nor part of Windows";
  }

  const std::vector<std::wstring>& folders_;
  const std::wstring system_ = systemFolder();
  std::vector<std::string> names_;  // In lower case, in the order in which they were found.
};

}  // namespace

std::string importTrouble(const PeImage& library, const std::vector<std::wstring>& folders) {
  return Imports(folders).troubleOf(library);
}

}  // namespace orva_accelerator::tools
