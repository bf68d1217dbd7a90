// JSON form of the registration report. Keys equal the field names; reading is strict.

#include "tavreldi/graph/RegistrationReport.hpp"

#include <nlohmann/json.hpp>

#include "core/detail/JsonForm.hpp"

namespace tavreldi {

TAVRELDI_JSON_FORM(RegistrationProblem, kind, service, path, message)
TAVRELDI_JSON_FORM(RegistrationReport, problems)

}  // namespace tavreldi
