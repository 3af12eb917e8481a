#include "sdk/decimal_int.h"

#include <cerrno>
#include <climits>
#include <cwchar>
#include <stdexcept>

namespace orva_accelerator::sdk {

int ParseDecimalInt(const std::wstring& text) {
  wchar_t* end = nullptr;
  errno = 0;
  const long value = std::wcstol(text.c_str(), &end, 10);
  const bool outOfRange = errno == ERANGE || value < INT_MIN || value > INT_MAX;
  if (end == text.c_str()) throw std::invalid_argument("invalid stoi argument");
  if (outOfRange) throw std::out_of_range("stoi argument out of range");
  return static_cast<int>(value);
}

}  // namespace orva_accelerator::sdk
