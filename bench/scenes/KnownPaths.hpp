#pragma once

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "platform/linux/AtspiReference.hpp"
#include "platform/linux/SdBus.hpp"

namespace tallyfox::bench {

/// The floors that nobody who reads property by property can go below: every object's path is known before, and all
/// questions about all objects are sent at once.
class KnownPaths {
 public:
  /// Elements of one window, itself included.
  static constexpr std::size_t elementsPerWindow = 120;

  explicit KnownPaths(const std::string& sessionBusAddress);

  /// Walks all windows anew, depth-first. Not for measuring.
  void collect();
  [[nodiscard]] std::size_t windows() const { return windows_; }
  [[nodiscard]] std::size_t elements() const { return elements_.size(); }
  [[nodiscard]] const std::string& accessibilityBusAddress() const { return address_; }

  /// Role, name, description, states and extents of every element. How many of these were answered with a value.
  std::size_t readAll();
  /// One ping to every program with a window.
  std::size_t pingAll();

 private:
  [[nodiscard]] linux_os::SdBusMessageHandle call(const linux_os::AtspiReference& target, const char* interface,
                                                  const char* member) const;
  [[nodiscard]] linux_os::SdBusMessageHandle property(const linux_os::AtspiReference& target, const char* name) const;
  [[nodiscard]] linux_os::SdBusMessageHandle answerTo(const linux_os::SdBusMessageHandle& question) const;
  [[nodiscard]] std::int32_t childCount(const linux_os::AtspiReference& parent) const;
  [[nodiscard]] linux_os::AtspiReference childAt(const linux_os::AtspiReference& parent, std::int32_t index) const;
  void walk(const linux_os::AtspiReference& element, std::size_t limit);
  void send(const linux_os::SdBusMessageHandle& message);
  std::size_t awaitAnswers();
  static int onAnswer(sd_bus_message* message, void* self, sd_bus_error* error);

  std::string address_;
  linux_os::SdBusHandle bus_;
  std::set<std::string> programs_;
  std::vector<linux_os::AtspiReference> elements_;
  std::size_t windows_ = 0;
  std::size_t unanswered_ = 0;
  std::size_t values_ = 0;
};

}  // namespace tallyfox::bench
