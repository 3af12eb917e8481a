// A program that does nothing for longer than any test takes, under whatever name it is copied to.
#include <windows.h>

int main() {
  Sleep(600'000);
  return 0;
}
