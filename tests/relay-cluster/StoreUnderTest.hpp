#pragma once

#include <memory>
#include <string>
#include <vector>

#include "storage/PairingStore.hpp"

namespace tallyfox::server::testing {

/// A fresh store and what it stands on.
class StoreUnderTest {
 public:
  virtual ~StoreUnderTest() = default;
  virtual PairingStore& store() = 0;
};

struct StoreMaker {
  std::string name;
  std::unique_ptr<StoreUnderTest> (*make)();
};

/// Every kind of store that there is.
[[nodiscard]] std::vector<StoreMaker> storeMakers();

}  // namespace tallyfox::server::testing
