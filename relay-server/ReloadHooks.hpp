#pragma once

#include <expected>
#include <functional>
#include <vector>

#include "RelayOptions.hpp"
#include "SettingsError.hpp"

namespace tallyfox::server {

/// The parts of a running relay that take new settings, all of them or none. A part first prepares, as by reading its
/// certificates, and may fail; what it returns is called once every part is prepared, and puts the new settings to use:
///
///   server.onReload([&](const RelayOptions& options) -> ReloadHooks::Prepared {
///     auto loaded = Certificates::read(options.certificateFile);
///     if (!loaded) return std::unexpected(SettingsError{loaded.error()});
///     return [&certificates, fresh = std::move(*loaded)] { certificates = fresh; };
///   });
class ReloadHooks {
 public:
  using Apply = std::function<void()>;
  using Prepared = std::expected<Apply, SettingsError>;
  using Prepare = std::function<Prepared(const RelayOptions&)>;

  void add(Prepare prepare) { parts_.push_back(std::move(prepare)); }
  /// The first error of a part; nothing has changed then.
  [[nodiscard]] std::expected<void, SettingsError> run(const RelayOptions& options) const;

 private:
  std::vector<Prepare> parts_;
};

}  // namespace tallyfox::server
