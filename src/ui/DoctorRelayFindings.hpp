#pragma once

#include "platform/DoctorFacts.hpp"
#include "ui/DoctorFinding.hpp"

namespace tallyfox::doctor {

/// How the way to the phone stands, as far as the relay.
[[nodiscard]] DoctorFinding relayAddressFinding(const DoctorFacts& facts);
[[nodiscard]] DoctorFinding relayHostFinding(const DoctorFacts& facts);
[[nodiscard]] DoctorFinding registrationFinding(const DoctorFacts& facts);
[[nodiscard]] DoctorFinding clockFinding(const DoctorFacts& facts);
[[nodiscard]] DoctorFinding keyringFinding(const DoctorFacts& facts);

}  // namespace tallyfox::doctor
