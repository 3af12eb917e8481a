// Puts another function in the place of one that this program imports from kernel32.dll, until the
// object goes. Calls from within the system are not reached.
#pragma once

namespace orva_accelerator::bench {

class ImportPatch {
 public:
  // Throws std::runtime_error when the program does not import the function.
  ImportPatch(const char* function, void* replacement);
  ImportPatch(const ImportPatch&) = delete;
  ImportPatch& operator=(const ImportPatch&) = delete;
  ~ImportPatch();

 private:
  void** slot_;
  void* original_;
};

}  // namespace orva_accelerator::bench
