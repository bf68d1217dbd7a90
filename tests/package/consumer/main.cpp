#include <cstdio>
#include <string>

std::string quickstart();  // docs/examples/quickstart.cpp

int main() {
  const std::string observed = quickstart();
  std::printf("observed: %s\n", observed.c_str());
  return observed == "Greeter -> Logger" ? 0 : 1;
}
