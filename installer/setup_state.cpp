#include "installer/setup_state.h"

#include <cwchar>
#include <vector>

namespace orva_accelerator::installer {

namespace {

// In no path.
constexpr wchar_t kSeparator = L'|';

}  // namespace

std::wstring toData(const SetupState& state) {
  std::wstring data = state.folder + kSeparator + state.language;
  if (const auto& service = state.service) {
    data += kSeparator + std::to_wstring(service->startType);
    data += kSeparator + std::to_wstring(service->runs ? 1 : 0);
    data += kSeparator + service->path;
  }
  return data;
}

SetupState fromData(const std::wstring& data) {
  std::vector<std::wstring> fields(1);
  for (const wchar_t character : data) {
    if (character == kSeparator) {
      fields.emplace_back();
    } else {
      fields.back() += character;
    }
  }
  SetupState state;
  state.folder = fields[0];
  if (fields.size() > 1) state.language = fields[1];
  if (fields.size() > 4) {
    state.service = RegisteredService{
        fields[4], static_cast<DWORD>(std::wcstoul(fields[2].c_str(), nullptr, 10)),
        fields[3] == L"1"};
  }
  return state;
}

}  // namespace orva_accelerator::installer
