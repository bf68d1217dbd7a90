#pragma once

// Readable GoogleTest output for telemetry values and maps (found by argument-dependent lookup).

#include <ostream>

#include "tavreldi/telemetry/AnalyticsValue.hpp"

namespace tavreldi {

inline void PrintTo(const AnalyticsValue& value, std::ostream* os) {
  *os << value.toQuotedString();
}

inline void PrintTo(const ParameterMap& map, std::ostream* os) { *os << map.toString(); }

}  // namespace tavreldi
