#include "Exposition.hpp"

#include <charconv>
#include <cmath>
#include <limits>
#include <optional>
#include <regex>
#include <set>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace tallyfox::server::testing {

class ExpositionReader {
 public:
  Exposition read(std::string_view text) {
    if (text.empty() || text.back() != '\n') throw std::runtime_error("does not end with a line break");
    std::istringstream lines{std::string(text)};
    for (std::string line; std::getline(lines, line);) {
      if (line.starts_with("# HELP ")) {
        begin(line);
      } else if (line.starts_with("# TYPE ")) {
        setType(line);
      } else {
        addSample(line);
      }
    }
    endMetric();
    return std::move(exposition_);
  }

 private:
  [[noreturn]] static void fail(const std::string& why, const std::string& line) {
    throw std::runtime_error(why + ": " + line);
  }

  void begin(const std::string& line) {
    endMetric();
    static const std::regex help(R"(# HELP ([a-zA-Z_:][a-zA-Z0-9_:]*) ((?:[^\\\n]|\\\\|\\n)+))");
    std::smatch parts;
    if (!std::regex_match(line, parts, help)) fail("a bad HELP", line);
    name_ = parts[1];
    type_.clear();
    buckets_.clear();
    if (!names_.insert(name_).second) fail("a metric comes twice", line);
  }

  void setType(const std::string& line) {
    static const std::regex type(R"(# TYPE (\S+) (counter|gauge|histogram))");
    std::smatch parts;
    if (!std::regex_match(line, parts, type) || parts[1] != name_ || !type_.empty()) fail("a bad TYPE", line);
    type_ = parts[2];
    if ((type_ == "counter") != name_.ends_with("_total")) fail("counters end with _total, and nothing else", line);
  }

  static double number(const std::string& text, const std::string& line) {
    if (text == "+Inf") return std::numeric_limits<double>::infinity();
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size()) fail("a bad number", line);
    return value;
  }

  void addSample(const std::string& line) {
    static const std::regex sample(R"(([a-zA-Z_:][a-zA-Z0-9_:]*)(\{[a-zA-Z_][a-zA-Z0-9_]*="(?:[^"\\]|\\["\\n])*")"
                                   R"((?:,[a-zA-Z_][a-zA-Z0-9_]*="(?:[^"\\]|\\["\\n])*")*\})? (\S+))");
    std::smatch parts;
    if (!std::regex_match(line, parts, sample)) fail("a bad sample", line);
    const std::string name = parts[1];
    const std::string labels = parts[2];
    const double value = number(parts[3], line);
    if (!exposition_.samples_.emplace(name + labels, value).second) fail("a sample comes twice", line);
    if (type_.empty()) fail("a sample before its TYPE", line);
    if (type_ == "histogram") return addToHistogram(name, labels, value, line);
    if (name != name_) fail("a sample of another metric", line);
    if (type_ == "counter" && !(value >= 0)) fail("a counter below zero", line);
  }

  void addToHistogram(const std::string& name, const std::string& labels, double value, const std::string& line) {
    if (name == name_ + "_sum") return;
    if (name == name_ + "_count") {
      const auto buckets = buckets_.find(labels);
      if (buckets == buckets_.end() || buckets->second.size() < 2) fail("a histogram without buckets", line);
      if (!std::isinf(buckets->second.rbegin()->first)) fail("a histogram without +Inf", line);
      if (buckets->second.rbegin()->second != value) fail("a count that is not its last bucket", line);
      counted_.insert(labels);
      return;
    }
    static const std::regex bound(R"re((.*?),?le="([^"]*)"\})re");
    std::smatch parts;
    if (name != name_ + "_bucket" || !std::regex_match(labels, parts, bound)) fail("a bad bucket", line);
    std::string others = parts[1];
    others = others == "{" ? "" : others + "}";
    auto& buckets = buckets_[others];
    const double upTo = number(parts[2], line);
    if (!buckets.empty() && (buckets.rbegin()->first >= upTo || buckets.rbegin()->second > value)) {
      fail("buckets that do not grow", line);
    }
    buckets.emplace(upTo, value);
  }

  void endMetric() {
    if (!name_.empty() && type_.empty()) fail("a metric without a TYPE", name_);
    for (const auto& [labels, buckets] : buckets_)
      if (!counted_.contains(labels)) fail("a histogram without its count", name_ + labels);
    counted_.clear();
  }

  Exposition exposition_;
  std::set<std::string> names_;
  std::string name_;
  std::string type_;
  std::map<std::string, std::map<double, double>> buckets_;  ///< by the labels but the bound
  std::set<std::string> counted_;
};

std::expected<Exposition, std::string> Exposition::parsed(std::string_view text) {
  try {
    return ExpositionReader().read(text);
  } catch (const std::runtime_error& failure) {
    return std::unexpected(failure.what());
  }
}

double Exposition::value(const std::string& sample) const {
  const auto found = samples_.find(sample);
  return found == samples_.end() ? std::nan("") : found->second;
}

}  // namespace tallyfox::server::testing
