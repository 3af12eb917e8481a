#include "tests/system/message_box.h"

#include <windows.h>

#include <array>
#include <functional>
#include <vector>

namespace orva_accelerator::test {
namespace {

constexpr char kDialogClass[] = "#32770";
constexpr int kTextItem = 0xFFFF;

std::vector<std::wstring> windowStations() {
  std::vector<std::wstring> names;
  const auto remember = [](LPWSTR name, LPARAM list) -> BOOL {
    reinterpret_cast<std::vector<std::wstring>*>(list)->emplace_back(name);
    return TRUE;
  };
  (void)EnumWindowStationsW(remember, reinterpret_cast<LPARAM>(&names));  // Or there are none.
  return names;
}

// As long as it lives, this thread is on the first desktop of a window station.
class Visit {
 public:
  explicit Visit(const std::wstring& name)
      : ownStation_(GetProcessWindowStation()),
        ownDesktop_(GetThreadDesktop(GetCurrentThreadId())),
        station_(OpenWindowStationW(name.c_str(), FALSE, MAXIMUM_ALLOWED)) {
    if (station_ == nullptr || !SetProcessWindowStation(station_)) return;
    desktop_ = OpenDesktopW(L"Default", 0, FALSE, MAXIMUM_ALLOWED);
    arrived_ = desktop_ != nullptr && SetThreadDesktop(desktop_);
  }
  Visit(const Visit&) = delete;
  Visit& operator=(const Visit&) = delete;
  ~Visit() {
    // What cannot be given back goes with the process.
    (void)SetProcessWindowStation(ownStation_);
    (void)SetThreadDesktop(ownDesktop_);
    if (desktop_ != nullptr) (void)CloseDesktop(desktop_);
    if (station_ != nullptr) (void)CloseWindowStation(station_);
  }

  bool arrived() const { return arrived_; }

 private:
  HWINSTA ownStation_;
  HDESK ownDesktop_;
  HWINSTA station_;
  HDESK desktop_ = nullptr;
  bool arrived_ = false;
};

// Calls `use` with the box while its desktop is visited. False when there is none.
bool withMessageBox(const char* caption, const std::function<void(HWND)>& use) {
  for (const std::wstring& station : windowStations()) {
    const Visit visit(station);
    if (!visit.arrived()) continue;
    const HWND box = FindWindowA(kDialogClass, caption);
    if (box == nullptr) continue;
    use(box);
    return true;
  }
  return false;
}

}  // namespace

std::optional<std::string> shownMessageBox(const char* caption) {
  std::string text;
  const auto readText = [&](HWND box) {
    std::array<char, 256> buffer = {};
    const UINT length =
        GetDlgItemTextA(box, kTextItem, buffer.data(), static_cast<int>(buffer.size()));
    text.assign(buffer.data(), length);
  };
  // A box that has just come up may not have its text yet.
  if (!withMessageBox(caption, readText) || text.empty()) return std::nullopt;
  return text;
}

bool dismissMessageBox(const char* caption) {
  bool posted = false;
  return withMessageBox(caption,
                        [&](HWND box) { posted = PostMessageA(box, WM_COMMAND, IDOK, 0); }) &&
         posted;
}

}  // namespace orva_accelerator::test
