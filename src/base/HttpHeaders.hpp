#pragma once

#include <string>
#include <utility>
#include <vector>

namespace tallyfox {

/// Names and values of an HTTP request, in the order in which they are sent.
using HeaderList = std::vector<std::pair<std::string, std::string>>;

/// Whether no name or value could end its line and begin another.
[[nodiscard]] bool areHeadersWellFormed(const HeaderList& headers);

}  // namespace tallyfox
