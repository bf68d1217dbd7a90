#pragma once

// How much a connection has received, for a thread other than the one reading it.

#include <cstdint>
#include <mutex>

namespace tavreldi::detail {

/// Follows one socket at a time and tells the bytes it has received, framing and TLS records
/// included. Thread-safe.
class ConnectionBytes {
 public:
  ConnectionBytes() = default;
  ~ConnectionBytes();
  ConnectionBytes(const ConnectionBytes&) = delete;
  ConnectionBytes& operator=(const ConnectionBytes&) = delete;

  /// Follows socket `fd` from now on; a duplicate of it is kept, so that it can be asked after
  /// its owner has closed it.
  void follow(int fd);
  /// The bytes received so far on the socket followed; 0 before any, or where the system does
  /// not tell.
  [[nodiscard]] std::uint64_t received() const;

 private:
  mutable std::mutex mutex_;
  int fd_ = -1;
};

}  // namespace tavreldi::detail
