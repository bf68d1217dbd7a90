#pragma once

#include <optional>
#include <string>

namespace demo {

struct DemoOptions {
  std::optional<std::string> htmlPath;
};

/// Runs the sample app and prints what happens; returns the process exit status.
int runDemo(const DemoOptions& options);

}  // namespace demo
