#pragma once

#include <expected>
#include <optional>
#include <string>
#include <vector>

#include "base/Date.hpp"

namespace tallyfox::phone {

enum class PhoneVerb { help, version, pair, list, watch, answer, suppress, unsuppress, unpair };

/// The command line.
struct PhoneOptions {
  PhoneVerb verb = PhoneVerb::help;
  std::vector<std::string> operands;  ///< as many as the verb takes
  bool json = false;
  std::optional<Seconds> timeout;
  std::optional<std::string> name;
  bool operator==(const PhoneOptions&) const = default;

  /// From the arguments without the program's name. Fails with one line that says what is wrong.
  [[nodiscard]] static std::expected<PhoneOptions, std::string> parsed(const std::vector<std::string>& arguments);
};

[[nodiscard]] std::string phoneUsage();

}  // namespace tallyfox::phone
