// A folder that belongs to somebody else until the end of the block.
#pragma once

#include <filesystem>
#include <string>

namespace orva_accelerator::test {

class ForeignOwner {
 public:
  explicit ForeignOwner(const std::filesystem::path& folder);
  ForeignOwner(const ForeignOwner&) = delete;
  ForeignOwner& operator=(const ForeignOwner&) = delete;
  ~ForeignOwner();

  // False when this account may not give the folder away: on Windows without elevation, here
  // without being root.
  bool isForeign() const { return isForeign_; }

 private:
  std::filesystem::path folder_;
  // As text; empty when nobody can be asked.
  std::wstring before_;
  bool isForeign_ = false;
};

}  // namespace orva_accelerator::test
