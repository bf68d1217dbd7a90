#include "tavreldi/core/RegistrationValidationError.hpp"

#include <fmt/format.h>

#include <utility>

namespace tavreldi {

RegistrationValidationError::RegistrationValidationError(RegistrationReport report)
    : report_(std::move(report)) {
  const std::size_t count = report_.problems.size();
  description_ = fmt::format("{} registration problem{}: ", count, count == 1 ? "" : "s");
  for (std::size_t i = 0; i < count; ++i) {
    if (i > 0) description_ += "; ";
    description_ += report_.problems[i].message;
  }
}

}  // namespace tavreldi
