#pragma once

#include <string>

namespace tallyfox {

/// One line of what `tallyfox doctor` says. The texts are valid UTF-8 without control characters.
struct DoctorFinding {
  enum class Verdict { ok, warning, problem };

  std::string check;  ///< what was looked at
  Verdict verdict = Verdict::ok;
  std::string found;   ///< a sentence
  std::string advice;  ///< what to do about it, a short sentence; empty when nothing is to be done

  bool operator==(const DoctorFinding&) const = default;
};

}  // namespace tallyfox
