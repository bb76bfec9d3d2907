#pragma once

#include <cstdint>
#include <expected>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/Queue.hpp"
#include "platform/Accessibility.hpp"
#include "platform/macos/AXMessages.hpp"
#include "platform/macos/MessagingTimeouts.hpp"

namespace tallyfox::mac_os {

/// Questions to applications, each as a message or from what an open read scope of the calling thread remembers. An
/// application that let a message pass its time-out is not asked again within the thread's open scopes.
///
/// Only answers are remembered: whatever a scope did not get to know is asked again by the single read, so that a read
/// gives the same with and without a scope. Any thread.
class AXReadings {
 public:
  /// Both must outlive the readings; scopes may outlive them.
  AXReadings(AXMessages& messages, Clock& clock);
  ~AXReadings();

  /// One message for each element of the plan that no open scope knows, in the order of the walk.
  [[nodiscard]] std::unique_ptr<AXReadScope> open(const AXReadPlan& plan);
  [[nodiscard]] std::expected<AXValue, AXError> copyAttribute(const AXUIElement& element, AXAttribute attribute);
  std::expected<void, AXError> setAttribute(const AXUIElement& element, AXAttribute attribute, const AXValue& value);
  [[nodiscard]] std::expected<std::vector<std::string>, AXError> copyActionNames(const AXUIElement& element);
  std::expected<void, AXError> performAction(const AXUIElement& element, std::string_view action);
  /// Of an application or the system-wide element; for others it does nothing.
  void setTimeout(const AXUIElement& element, Seconds timeout);
  /// The calling thread's, for questions to the system-wide element.
  [[nodiscard]] Seconds systemWideTimeout() const { return timeouts_.of(0); }

 private:
  class Scope;
  class OpenScopes;

  template <typename Ask>
  auto message(const AXUIElement& element, Ask ask);
  void read(Scope& scope, const AXReadPlan& plan);
  void readApplication(Scope& scope, const AXUIElement& application, const AXReadPlan& plan);
  void walk(Scope& scope, const AXUIElement& root, const std::vector<AXAttribute>& attributes, int descendantLimit);
  void fetch(Scope& scope, const AXUIElement& element, const std::vector<AXAttribute>& attributes);
  [[nodiscard]] std::vector<AXUIElement> rememberedElements(const AXUIElement& element, AXAttribute attribute) const;

  AXMessages& messages_;
  Clock& clock_;
  MessagingTimeouts timeouts_;
  std::shared_ptr<OpenScopes> scopes_;
};

}  // namespace tallyfox::mac_os
