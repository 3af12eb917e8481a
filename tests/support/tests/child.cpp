// What child_process_test.cpp starts.
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>

int main(int argc, char** argv) {
  const std::string_view command = argc > 1 ? argv[1] : "";
  if (command == "print" && argc > 3) {
    (void)std::fputs(argv[2], stdout);  // The test misses what could not be written.
    (void)std::fputs(argv[3], stderr);
    return 0;
  }
  if (command == "exit" && argc > 2) std::exit(std::atoi(argv[2]));
  if (command == "hang") {
    (void)std::puts("hanging");
    (void)std::fflush(stdout);
    Sleep(60'000);
  }
  return 2;
}
