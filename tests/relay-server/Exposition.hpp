#pragma once

#include <expected>
#include <map>
#include <string>
#include <string_view>

namespace tallyfox::server::testing {

/// A strict reader of the text format of Prometheus, version 0.0.4: every metric has one HELP and one TYPE before its
/// samples, which stand together; names, labels, escapes and numbers are well-formed; no sample comes twice; counters
/// are called _total; the buckets of a histogram grow and end with +Inf, which is its count.
class Exposition {
 public:
  /// The error is what breaks the format first.
  [[nodiscard]] static std::expected<Exposition, std::string> parsed(std::string_view text);

  /// By name and labels as they are written, such as a_total{b="c"}; NaN for one that is not there.
  [[nodiscard]] double value(const std::string& sample) const;
  [[nodiscard]] bool has(const std::string& sample) const { return samples_.contains(sample); }
  [[nodiscard]] std::size_t size() const { return samples_.size(); }

 private:
  friend class ExpositionReader;
  std::map<std::string, double> samples_;
};

}  // namespace tallyfox::server::testing
