// JSON form of the registration report. Keys equal the field names; reading is strict.

#include "tavreldi/graph/RegistrationReport.hpp"

#include <nlohmann/json.hpp>

#include "core/detail/Json.hpp"

namespace tavreldi {

void to_json(nlohmann::json& json, const RegistrationProblem& problem) {
  json = nlohmann::json::object();
  json["kind"] = problem.kind;
  json["service"] = problem.service;
  json["path"] = problem.path;
  json["message"] = problem.message;
}

void from_json(const nlohmann::json& json, RegistrationProblem& problem) {
  detail::requireObject(json, "RegistrationProblem");
  problem = RegistrationProblem{
      detail::field<RegistrationProblemKind>(json, "kind"),
      detail::field<std::string>(json, "service"),
      detail::field<std::vector<std::string>>(json, "path"),
      detail::field<std::string>(json, "message"),
  };
}

void to_json(nlohmann::json& json, const RegistrationReport& report) {
  json = nlohmann::json::object();
  json["problems"] = report.problems;
}

void from_json(const nlohmann::json& json, RegistrationReport& report) {
  detail::requireObject(json, "RegistrationReport");
  report = RegistrationReport{detail::field<std::vector<RegistrationProblem>>(json, "problems")};
}

}  // namespace tavreldi
