// A library that another one imports, see importing_library.cpp.
extern "C" __declspec(dllexport) int orvaImported() {
  return 1;
}
