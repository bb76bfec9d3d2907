#pragma once

#include <filesystem>
#include <memory>
#include <string>

namespace tallyfox::server::testing {

/// A certificate authority of one test: its certificates are good for those who trust it, and for an hour.
class TestAuthority {
 public:
  /// Keeps its files in the directory.
  explicit TestAuthority(std::filesystem::path directory);
  ~TestAuthority();

  struct Issued {
    std::filesystem::path certificate;  ///< PEM
    std::filesystem::path key;          ///< PEM, readable by the owner alone
  };
  /// For localhost and 127.0.0.1; the name tells certificates apart and is part of the files' names.
  [[nodiscard]] Issued issue(const std::string& name, long validSeconds = 3600);
  /// What those who trust it are given.
  [[nodiscard]] const std::filesystem::path& certificate() const { return certificate_; }

 private:
  struct State;
  std::filesystem::path directory_;
  std::filesystem::path certificate_;
  std::unique_ptr<State> state_;
};

}  // namespace tallyfox::server::testing
