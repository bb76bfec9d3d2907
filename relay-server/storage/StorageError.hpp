#pragma once

#include <expected>
#include <string>

namespace tallyfox::server {

struct StorageError {
  std::string description;  ///< for one line of a log; never a stored value
  bool operator==(const StorageError&) const = default;
};
template <typename Value>
using StorageResult = std::expected<Value, StorageError>;

}  // namespace tallyfox::server
