#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

#include "Histogram.hpp"

namespace tallyfox::server {

/// Writes metrics in the text format of Prometheus, version 0.0.4.
class MetricsText {
 public:
  struct Label {
    std::string_view name;
    std::string_view value;
  };
  using Labels = std::initializer_list<Label>;

  /// Begins a metric, whose samples follow.
  void counter(std::string_view name, std::string_view help) { begin(name, help, "counter"); }
  void gauge(std::string_view name, std::string_view help) { begin(name, help, "gauge"); }
  void histogram(std::string_view name, std::string_view help) { begin(name, help, "histogram"); }

  void sample(Labels labels, std::uint64_t value);
  void sample(Labels labels, double value);
  void sample(Labels labels, const Histogram& histogram);

  [[nodiscard]] const std::string& text() const { return text_; }

 private:
  void begin(std::string_view name, std::string_view help, std::string_view type);
  void line(std::string_view suffix, Labels labels, const Label* more, std::string_view value);

  std::string text_;
  std::string name_;
};

}  // namespace tallyfox::server
