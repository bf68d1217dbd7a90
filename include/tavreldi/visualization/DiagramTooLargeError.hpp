#pragma once

/// \file
/// The error of a diagram whose text would pass the caller's output limit.

#include <cstddef>
#include <stdexcept>

#include "tavreldi/visualization/VisualizationModel.hpp"

namespace tavreldi {

/// Thrown by the bounded `DiagramGenerators::generate` when the text of a diagram would be
/// longer than the output limit it was given. `what()` reads, for instance, "the tree diagram is
/// larger than the output limit of 67108864 bytes".
class DiagramTooLargeError : public std::length_error {
 public:
  /// Makes the error of diagram `type` passing `limit` bytes.
  DiagramTooLargeError(VisualizationType type, std::size_t limit);

  /// The diagram that was too large.
  [[nodiscard]] VisualizationType type() const noexcept { return type_; }
  /// The limit it passed, in bytes.
  [[nodiscard]] std::size_t limit() const noexcept { return limit_; }

 private:
  VisualizationType type_;
  std::size_t limit_;
};

}  // namespace tavreldi
