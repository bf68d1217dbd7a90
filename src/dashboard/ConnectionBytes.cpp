// Kept apart from the HTTP code: <linux/tcp.h> and the <netinet/tcp.h> that cpp-httplib
// includes cannot be used together.

#include "dashboard/detail/ConnectionBytes.hpp"

#include <fcntl.h>
#include <linux/tcp.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace tavreldi::detail {

ConnectionBytes::~ConnectionBytes() {
  if (fd_ >= 0) ::close(fd_);
}

void ConnectionBytes::follow(int fd) {
  const std::lock_guard lock(mutex_);
  if (fd_ >= 0) ::close(fd_);
  fd_ = ::fcntl(fd, F_DUPFD_CLOEXEC, 0);
}

std::uint64_t ConnectionBytes::received() const {
  const std::lock_guard lock(mutex_);
  tcp_info info{};
  socklen_t length = sizeof info;
  if (fd_ < 0 || ::getsockopt(fd_, IPPROTO_TCP, TCP_INFO, &info, &length) != 0 ||
      length < offsetof(tcp_info, tcpi_bytes_received) + sizeof info.tcpi_bytes_received) {
    return 0;
  }
  return info.tcpi_bytes_received;
}

}  // namespace tavreldi::detail
