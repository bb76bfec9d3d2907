#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace tallyfox::bench {

/// What one run of something took.
struct Cost {
  double milliseconds = 0;
  double processorMilliseconds = 0;  ///< user and system time of the process that did it
};

/// Of `work`, done in this process.
[[nodiscard]] Cost costOf(const std::function<void()>& work);

/// Repeated measurements of one thing.
class Samples {
 public:
  void add(double value) { values_.push_back(value); }
  [[nodiscard]] std::size_t count() const { return values_.size(); }
  [[nodiscard]] double median() const { return quantile(0.5); }
  [[nodiscard]] double p95() const { return quantile(0.95); }
  [[nodiscard]] double most() const { return quantile(1); }

 private:
  [[nodiscard]] double quantile(double share) const;
  std::vector<double> values_;
};

struct CostSamples {
  Samples milliseconds;
  Samples processorMilliseconds;
  void add(const Cost& cost) {
    milliseconds.add(cost.milliseconds);
    processorMilliseconds.add(cost.processorMilliseconds);
  }
};

/// Prints figures line by line, each aim with whether it is met.
class Report {
 public:
  void heading(const std::string& text) const;
  void note(const std::string& text) const;
  void costs(const std::string& name, const CostSamples& samples) const;
  void times(const std::string& name, const Samples& milliseconds) const;
  void figure(const std::string& name, double value, const std::string& unit) const;
  void atLeast(const std::string& name, double value, double aim);
  void atMost(const std::string& name, double value, double aim);
  /// How many aims were met and missed.
  void summary() const;

 private:
  void judge(const std::string& name, double value, const char* relation, double aim, bool isMet);
  int met_ = 0;
  int missed_ = 0;
};

}  // namespace tallyfox::bench
