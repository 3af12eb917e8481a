// A program that does nothing until somebody ends it, under whatever name it is copied to. The test
// that starts it does, and so does the end of the Windows that it runs in.
#include <windows.h>

int main() {
  Sleep(INFINITE);
  return 0;
}
