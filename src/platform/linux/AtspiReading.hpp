#pragma once

#include <cstdint>
#include <expected>
#include <functional>
#include <optional>
#include <unordered_map>
#include <vector>

#include "platform/linux/AtspiFacts.hpp"
#include "platform/linux/AtspiReference.hpp"
#include "platform/linux/AtspiRoles.hpp"
#include "platform/linux/AtspiSession.hpp"

namespace tallyfox::linux_os {

/// The X server's side of one moment.
struct AtspiScreen {
  std::vector<XWindow> windows;  ///< front to back
  std::optional<XWindowID> active;
};

/// A window of an application, with its X window where it has one.
struct AtspiWindow {
  AtspiReference reference;
  AtspiStates states = 0;
  std::optional<XWindow> screenWindow;
  /// False when the X window may as well be that of another window which looks like this one.
  bool isScreenWindowCertain = false;
};

/// Calls that belong together; `onDone` runs when the last of them was answered.
struct AtspiStep {
  std::size_t outstanding = 0;
  std::function<void()> onDone;

  void noteAnswer() {
    if (--outstanding == 0 && onDone) onDone();
  }
};

/// What was read of the accessibility world so far: the memory of a read scope, or of one question. What an outer
/// reading knows is not asked again. Lives on its session's thread; `want` calls only send, the others run the bus.
class AtspiReading {
 public:
  AtspiReading(AtspiSession& session, AtspiReading* outer) : session_(session), outer_(outer) {}
  AtspiReading(const AtspiReading&) = delete;
  AtspiReading& operator=(const AtspiReading&) = delete;

  [[nodiscard]] AtspiSession& session() { return session_; }

  /// Sends for those of the facts that are not known. False when all were.
  bool want(const AtspiReference& reference, FactSet facts, AtspiStep& step);
  /// What is known now. Valid until the next call on this reading.
  [[nodiscard]] const AtspiFacts& known(const AtspiReference& reference);
  void learnRole(const AtspiReference& reference, std::uint32_t role) { own(reference).role = role; }
  void learnChildren(const AtspiReference& reference, std::expected<std::vector<AtspiReference>, AXError> children);
  /// All of its shown children, by a search.
  void learnShownChildren(const AtspiReference& reference, std::vector<AtspiReference> children);
  /// After having asked for what is missing of `facts`.
  [[nodiscard]] const AtspiFacts& read(const AtspiReference& reference, FactSet facts);

  /// Children without the ones that are hidden. Beyond the reach of the outer reading's plan, children are listed
  /// without having been looked at.
  [[nodiscard]] std::expected<std::vector<AtspiReference>, AXError> shownChildren(const AtspiReference& reference);
  /// The same, of what is known; none when the children are not. A child that is not known yet counts as shown.
  /// Whether the object, as far as it is known, is a text of its own and not the label of a button.
  [[nodiscard]] bool isKnownAsText(const AtspiReference& reference) const;
  [[nodiscard]] std::vector<AtspiReference> knownShownChildren(const AtspiReference& reference);
  /// The bounded walk below `root`, each element with these facts.
  [[nodiscard]] std::vector<AtspiReference> walk(const AtspiReference& root, int limit, FactSet facts);

  /// The windows that a process shows or has minimised.
  [[nodiscard]] std::expected<std::vector<AtspiWindow>, AXError> windowsOf(std::int32_t processIdentifier);
  /// The window of that process which is this object, if it is one.
  [[nodiscard]] std::optional<AtspiWindow> windowAt(const AtspiReference& reference);
  /// The window in which an object lies, the object itself included.
  [[nodiscard]] std::optional<AtspiWindow> windowAround(const AtspiReference& reference);

  [[nodiscard]] const AtspiScreen& screen();
  [[nodiscard]] Toolkit toolkitOf(const AtspiReference& reference);
  /// Whether its states mean that it is on the screen, or would be were its window not minimised or covered.
  [[nodiscard]] bool isShown(const AtspiReference& reference, AtspiStates states) const;
  /// The same, by a search or its states.
  [[nodiscard]] std::expected<bool, AXError> isShown(const AtspiReference& reference);
  /// Whether it lies directly below its application. Objects whose parent cannot be read count as such.
  [[nodiscard]] bool isTopLevel(const AtspiReference& reference);

 private:
  [[nodiscard]] const AtspiFacts* found(const AtspiReference& reference) const;
  [[nodiscard]] AtspiFacts& own(const AtspiReference& reference);
  [[nodiscard]] bool isPlanned(const AtspiReference& reference) const;
  template <typename T>
  void ask(const AtspiReference& reference, AtspiCall call, AtspiFact<T> AtspiFacts::* field,
           std::expected<T, AXError> (*decoded)(AtspiBus::Answer), AtspiStep& step);
  void askChildren(const AtspiReference& reference, AtspiStep& step);
  void askLastChildren(const AtspiReference& reference, std::int32_t count, AtspiStep& step);
  void askToolkit(const AtspiReference& reference, AtspiStep& step);
  void askFocusClaims(const AtspiReference& reference, AtspiStep& step);
  void refuse(const AtspiReference& reference, FactSet facts);
  [[nodiscard]] std::vector<AtspiWindow> matchedWindowsOf(std::int32_t processIdentifier,
                                                          const std::vector<AtspiReference>& candidates);

  AtspiSession& session_;
  AtspiReading* outer_;
  std::unordered_map<AtspiReference, AtspiFacts> facts_;
  std::optional<AtspiScreen> screen_;
};

}  // namespace tallyfox::linux_os
