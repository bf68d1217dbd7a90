#include "tavreldi/core/Timestamp.hpp"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <cstdio>

namespace tavreldi {
namespace {

using std::chrono::floor;
using std::chrono::milliseconds;
using std::chrono::seconds;

std::string formatSeconds(Timestamp time) {
  return fmt::format("{:%Y-%m-%dT%H:%M:%S}", floor<seconds>(time));
}

}  // namespace

std::string toIso8601WithMilliseconds(Timestamp time) {
  const auto whole = floor<seconds>(time);
  const auto millis = floor<milliseconds>(time - whole).count();
  return fmt::format("{}.{:03}Z", formatSeconds(whole), millis);
}

std::string toIso8601(Timestamp time) { return formatSeconds(time) + "Z"; }

std::optional<Timestamp> parseIso8601(std::string_view text) {
  // YYYY-MM-DDTHH:MM:SS[.fff...]Z
  if (text.size() < 20 || text.back() != 'Z') return std::nullopt;
  const auto digits = [&](std::size_t pos, std::size_t count, int& out) {
    int value = 0;
    for (std::size_t i = pos; i < pos + count; ++i) {
      if (text[i] < '0' || text[i] > '9') return false;
      value = value * 10 + (text[i] - '0');
    }
    out = value;
    return true;
  };
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
  if (!digits(0, 4, year) || text[4] != '-' || !digits(5, 2, month) || text[7] != '-' ||
      !digits(8, 2, day) || text[10] != 'T' || !digits(11, 2, hour) || text[13] != ':' ||
      !digits(14, 2, minute) || text[16] != ':' || !digits(17, 2, second)) {
    return std::nullopt;
  }
  const std::chrono::year_month_day date{std::chrono::year{year},
                                         std::chrono::month{static_cast<unsigned>(month)},
                                         std::chrono::day{static_cast<unsigned>(day)}};
  if (!date.ok() || hour > 23 || minute > 59 || second > 60) return std::nullopt;
  std::chrono::nanoseconds fraction{0};
  std::size_t pos = 19;
  if (text[pos] == '.') {
    ++pos;
    long long scale = 100'000'000;
    const std::size_t start = pos;
    while (pos < text.size() - 1 && text[pos] >= '0' && text[pos] <= '9') {
      fraction += std::chrono::nanoseconds((text[pos] - '0') * scale);
      scale /= 10;
      ++pos;
    }
    if (pos == start) return std::nullopt;
  }
  if (pos != text.size() - 1) return std::nullopt;
  const auto time = std::chrono::sys_days{date} + std::chrono::hours{hour} +
                    std::chrono::minutes{minute} + std::chrono::seconds{second} + fraction;
  return std::chrono::time_point_cast<Timestamp::duration>(time);
}

}  // namespace tavreldi
