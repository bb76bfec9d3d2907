#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>

#include "ChildProcess.hpp"

namespace tallyfox::server::testing {

/// A running relay program.
class RelayProcess : public ChildProcess {
 public:
  explicit RelayProcess(std::vector<std::string> arguments, const std::string& program = TALLYFOX_RELAY_PROGRAM,
                        const std::string& errorFile = "")
      : ChildProcess(command(std::move(arguments), program), errorFile) {}

  /// The port of the ready line.
  std::uint16_t port() {
    const std::string ready = output.line();
    EXPECT_THAT(ready, ::testing::StartsWith("Tallyfox relay listening on 127.0.0.1:"));
    EXPECT_THAT(ready, ::testing::EndsWith("."));
    const std::size_t colon = ready.rfind(':');
    return colon == std::string::npos ? std::uint16_t{0}
                                      : static_cast<std::uint16_t>(std::stoi(ready.substr(colon + 1)));
  }

 private:
  static std::vector<std::string> command(std::vector<std::string> arguments, const std::string& program) {
    arguments.insert(arguments.begin(), program);
    return arguments;
  }
};

}  // namespace tallyfox::server::testing
