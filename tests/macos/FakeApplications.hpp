#pragma once

/// Applications that answer messages from trees in memory, with every fault that the Mac's show, and count what they
/// are asked.

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "base/Queue.hpp"
#include "platform/macos/AXMessages.hpp"

namespace tallyfox::mac_os {

/// Only messages take time.
class FakeClock : public Clock {
 public:
  [[nodiscard]] Date now() const override { return {}; }
  [[nodiscard]] Seconds continuous() const override { return time_; }
  void sleep(Seconds duration) override { time_ += duration; }

 private:
  Seconds time_{0};
};

class FakeElement : public AXElementIdentity {
 public:
  FakeElement(AXAddressee::Kind kind, std::int32_t pid, int number) : addressee{kind, pid}, number_(number) {}
  [[nodiscard]] bool isEqual(const AXElementIdentity& other) const override {
    const auto* fake = dynamic_cast<const FakeElement*>(&other);
    return fake != nullptr && fake->number_ == number_ &&
           fake->addressee.processIdentifier == addressee.processIdentifier;
  }
  [[nodiscard]] std::size_t hash() const override { return std::hash<int>{}(number_); }
  static const FakeElement& of(const AXUIElement& element) {
    return dynamic_cast<const FakeElement&>(element.identity());
  }
  [[nodiscard]] int number() const { return number_; }

  const AXAddressee addressee;

 private:
  int number_;
};

class FakeApplications : public AXMessages {
 public:
  explicit FakeApplications(Clock& clock) : clock_(clock) {}

  /// Application elements have the number 0.
  static AXUIElement application(std::int32_t pid) { return made(AXAddressee::Kind::application, pid, 0); }
  static AXUIElement element(std::int32_t pid, int number) { return made(AXAddressee::Kind::element, pid, number); }
  static AXUIElement systemWide() { return made(AXAddressee::Kind::systemWide, 0, -1); }

  void assign(const AXUIElement& element, AXAttribute attribute, Answer answer) {
    tree_[element].insert_or_assign(attribute, std::move(answer));
  }
  void remove(const AXUIElement& element) { tree_.erase(element); }

  Answer copyAttribute(const AXUIElement& element, AXAttribute attribute, Seconds timeout) override {
    if (const auto fault = sent("read", element, timeout)) return std::unexpected(*fault);
    return answerOf(element, attribute);
  }
  std::expected<std::vector<Answer>, AXError> copyAttributes(const AXUIElement& element,
                                                             const std::vector<AXAttribute>& attributes,
                                                             Seconds timeout) override {
    if (const auto fault = sent("batch", element, timeout)) return std::unexpected(*fault);
    if (refusingBatches.contains(element)) return std::unexpected(AXError::cannotComplete);
    if (!tree_.contains(element)) return std::unexpected(AXError::invalidElement);
    std::vector<Answer> answers;
    for (const AXAttribute attribute : attributes)
      answers.push_back(answerOf(element, attribute));
    if (shorteningBatches.contains(element)) answers.pop_back();
    asked.emplace_back(element, attributes);
    return answers;
  }
  std::expected<void, AXError> setAttribute(const AXUIElement& element, AXAttribute attribute, const AXValue& value,
                                            Seconds timeout) override {
    if (const auto fault = sent("set", element, timeout)) return std::unexpected(*fault);
    assign(element, attribute, value);
    return {};
  }
  std::expected<std::vector<std::string>, AXError> copyActionNames(const AXUIElement& element,
                                                                   Seconds timeout) override {
    if (const auto fault = sent("names", element, timeout)) return std::unexpected(*fault);
    return std::vector<std::string>{"AXPress"};
  }
  std::expected<void, AXError> performAction(const AXUIElement& element, std::string_view, Seconds timeout) override {
    if (const auto fault = sent("perform", element, timeout)) return std::unexpected(*fault);
    if (onPerform) onPerform(element);
    return {};
  }
  AXAddressee addressee(const AXUIElement& element) override {
    AXAddressee to = FakeElement::of(element).addressee;
    if (to.kind == AXAddressee::Kind::systemWide) to.processIdentifier = frontmost;
    return to;
  }

  [[nodiscard]] std::size_t count(const std::string& kind) const {
    const auto found = counts_.find(kind);
    return found == counts_.end() ? 0 : found->second;
  }
  void resetCounts() {
    counts_.clear();
    asked.clear();
  }

  std::set<std::int32_t> hanging;
  std::set<std::int32_t> distrusting;
  std::int32_t frontmost = 0;
  std::set<AXUIElement, bool (*)(const AXUIElement&, const AXUIElement&)> refusingBatches{before};  ///< at once
  std::set<AXUIElement, bool (*)(const AXUIElement&, const AXUIElement&)> shorteningBatches{before};
  std::function<void(const AXUIElement&)> onPerform;
  std::vector<std::pair<AXUIElement, std::vector<AXAttribute>>> asked;  ///< by batches, in order
  std::vector<Seconds> timeouts;                                        ///< of every message, in order

 private:
  static AXUIElement made(AXAddressee::Kind kind, std::int32_t pid, int number) {
    return AXUIElement(std::make_shared<const FakeElement>(kind, pid, number));
  }
  static bool before(const AXUIElement& one, const AXUIElement& other) {
    const auto key = [](const AXUIElement& element) {
      const FakeElement& fake = FakeElement::of(element);
      return std::pair(fake.addressee.processIdentifier, fake.number());
    };
    return key(one) < key(other);
  }

  std::optional<AXError> sent(const std::string& kind, const AXUIElement& element, Seconds timeout) {
    ++counts_[kind];
    timeouts.push_back(timeout);
    const AXAddressee to = addressee(element);
    if (distrusting.contains(to.processIdentifier)) return AXError::notTrusted;
    if (!hanging.contains(to.processIdentifier)) return std::nullopt;
    clock_.sleep(timeout);
    return AXError::cannotComplete;
  }
  [[nodiscard]] Answer answerOf(const AXUIElement& element, AXAttribute attribute) const {
    const auto found = tree_.find(element);
    if (found == tree_.end()) return std::unexpected(AXError::invalidElement);
    const auto value = found->second.find(attribute);
    if (value == found->second.end()) return std::unexpected(AXError::unsupported);
    return value->second;
  }

  Clock& clock_;
  std::map<AXUIElement, std::map<AXAttribute, Answer>, bool (*)(const AXUIElement&, const AXUIElement&)> tree_{before};
  std::map<std::string, std::size_t> counts_;
};

}  // namespace tallyfox::mac_os
