#include "ipc/process_search.h"

#include <cwctype>

#include "win32/process_list.h"

namespace orva_accelerator::ipc {

namespace {

std::wstring toLower(std::wstring text) {
  for (wchar_t& unit : text) unit = static_cast<wchar_t>(std::towlower(unit));
  return text;
}

}  // namespace

bool FindProcessByName(const std::wstring& imageName) {
  if (imageName.empty()) return false;
  const auto hasThatName = [wanted = toLower(imageName)](const win32::RunningProcess& process) {
    return toLower(process.imageName) == wanted;
  };
  return win32::findProcess(hasThatName) == win32::ProcessSearch::Found;
}

}  // namespace orva_accelerator::ipc
