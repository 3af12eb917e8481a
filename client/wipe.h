// Bytes that may hold a credential.
#pragma once

#include <windows.h>

#include "client/bytes.h"

namespace orva_accelerator::client {

// Overwrites them when it goes. They must not have been moved to other memory meanwhile: reserve
// what is needed beforehand.
class WipeAtEnd {
 public:
  explicit WipeAtEnd(Bytes& bytes) : bytes_(bytes) {}
  WipeAtEnd(const WipeAtEnd&) = delete;
  WipeAtEnd& operator=(const WipeAtEnd&) = delete;
  ~WipeAtEnd() { SecureZeroMemory(bytes_.data(), bytes_.size()); }

 private:
  Bytes& bytes_;
};

}  // namespace orva_accelerator::client
