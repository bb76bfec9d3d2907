#include "MetricsText.hpp"

#include <fmt/format.h>

#include <cmath>

namespace tallyfox::server {
namespace {

std::string numberText(double value) {
  if (std::isnan(value)) return "NaN";
  if (std::isinf(value)) return value > 0 ? "+Inf" : "-Inf";
  return fmt::format("{}", value);
}

std::string secondsText(Histogram::Duration duration) {
  return numberText(std::chrono::duration<double>(duration).count());
}

void appendEscaped(std::string& text, std::string_view value, bool inQuotes) {
  for (const char c : value) {
    if (c == '\n') {
      text += "\\n";
    } else if (c == '\\' || (inQuotes && c == '"')) {
      text += '\\';
      text += c;
    } else {
      text += c;
    }
  }
}

}  // namespace

void MetricsText::begin(std::string_view name, std::string_view help, std::string_view type) {
  name_ = name;
  text_.append("# HELP ").append(name) += ' ';
  appendEscaped(text_, help, false);
  text_.append("\n# TYPE ").append(name).append(" ").append(type) += '\n';
}

void MetricsText::line(std::string_view suffix, Labels labels, const Label* more, std::string_view value) {
  text_.append(name_).append(suffix);
  char separator = '{';
  const auto append = [&](const Label& label) {
    text_ += separator;
    text_.append(label.name).append("=\"");
    appendEscaped(text_, label.value, true);
    text_ += '"';
    separator = ',';
  };
  for (const Label& label : labels)
    append(label);
  if (more != nullptr) append(*more);
  if (separator == ',') text_ += '}';
  text_.append(" ").append(value) += '\n';
}

void MetricsText::sample(Labels labels, std::uint64_t value) {
  line("", labels, nullptr, std::to_string(value));
}

void MetricsText::sample(Labels labels, double value) {
  line("", labels, nullptr, numberText(value));
}

void MetricsText::sample(Labels labels, const Histogram& histogram) {
  std::uint64_t total = 0;
  for (std::size_t index = 0; index <= histogram.bounds().size(); ++index) {
    total += histogram.count(index);
    const std::string bound =
        index < histogram.bounds().size() ? secondsText(histogram.bounds()[index]) : std::string("+Inf");
    const Label upTo{.name = "le", .value = bound};
    line("_bucket", labels, &upTo, std::to_string(total));
  }
  line("_sum", labels, nullptr, secondsText(histogram.sum()));
  line("_count", labels, nullptr, std::to_string(total));
}

}  // namespace tallyfox::server
