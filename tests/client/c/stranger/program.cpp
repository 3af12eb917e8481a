#include <orva_client.h>

#include <iostream>
#include <string_view>

int main() {
  orva_error error;
  orva_push* push = nullptr;
  orva_push_register(nullptr, 0, 0, &push, &error);
  const orva_text text{error.text, error.text_length};
  std::cout << std::string_view(text) << '\n';
}
