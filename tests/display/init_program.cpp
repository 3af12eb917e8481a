// Loads and initialises the library beside it and prints the result.
#include <cstdio>

#include "sdk/accel_sdk.h"

int main() {
  std::printf("%d\n", orva_accelerator::sdk::AccelSdk::Instance().Init({}));
  return 0;
}
