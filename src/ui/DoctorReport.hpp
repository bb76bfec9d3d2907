#pragma once

#include <string>
#include <vector>

#include "base/Json.hpp"
#include "platform/DoctorFacts.hpp"
#include "ui/DoctorFinding.hpp"

namespace tallyfox {

/// The judgement of every check, always all of them in the same order.
[[nodiscard]] std::vector<DoctorFinding> doctorReport(const DoctorFacts& facts);

[[nodiscard]] bool hasProblem(const std::vector<DoctorFinding>& report);
/// One line for each finding, each with its line break.
[[nodiscard]] std::string doctorText(const std::vector<DoctorFinding>& report);
/// {"version":1,"ok":true,"findings":[{"check":"Keyring","verdict":"ok","found":"..."}]}, with "advice" where there is
/// some.
[[nodiscard]] Json doctorJson(const std::vector<DoctorFinding>& report);

}  // namespace tallyfox
