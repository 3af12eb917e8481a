// Makes the simulated library that contains this one depend on imported_library.cpp.
extern "C" __declspec(dllimport) int orvaImported();

extern "C" int orvaImporting() {
  return orvaImported();
}
