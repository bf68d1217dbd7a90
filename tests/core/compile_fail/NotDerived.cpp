// Expect: registerType<Interface, Impl>: Impl must derive publicly from Interface
#include "tavreldi/core/AdvancedDIContainer.hpp"

struct HttpClient {
  virtual ~HttpClient() = default;
};
struct FakeHttpClient {};  // forgets to derive from HttpClient

void registerIt(tavreldi::AdvancedDIContainer& c) {
  c.registerType<HttpClient, FakeHttpClient>(tavreldi::DependencyScope::singleton);
}
