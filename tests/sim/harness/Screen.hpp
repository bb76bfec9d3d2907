#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "base/Queue.hpp"
#include "model/PendingApproval.hpp"
#include "platform/memory/MemoryDesktop.hpp"
#include "sim/harness/Random.hpp"

namespace tallyfox::sim {

/// How a dialog reads.
struct DialogText {
  std::string title;
  std::vector<std::string> lines;
  std::vector<std::string> labels;  ///< left to right
  auto operator<=>(const DialogText&) const = default;

  /// Whether it is the same to whoever answers it: buttons may have changed places.
  [[nodiscard]] bool asksTheSame(const DialogText& other) const;
  [[nodiscard]] static DialogText of(const PendingApproval& approval) {
    return {approval.windowTitle, approval.messageLines, approval.buttonLabels()};
  }
};

/// One dialog that was put on the screen, whether or not it is still there.
struct SimulatedDialog {
  memory::ElementID window = 0;
  std::int32_t application = 0;
  DialogText text;
  Seconds openedAt{};
  DialogText earlierText;  ///< how it read until `changedAt`
  Seconds changedAt{-1};
  DialogFrame frame;
};

/// A screen on which applications come up with dialogs, and what can become of those: the truth that the agent's words
/// and deeds are held against. Every title and every line has a "#" in it, which no sealed frame has.
class Screen {
 public:
  Screen(memory::MemoryDesktop& desktop, Clock& clock, Random random);

  // What happens.
  void open();
  void close();
  /// In place: another line, another label, a disabled button, a move, another window in front.
  void change();
  void replaceByLookAlike();
  void cover();
  void misbehave();
  /// Anything of the above that may happen between two messages of the agent; says what.
  const char* surprise();
  /// Every application answers again and heeds everything, nothing is covered, every button is enabled.
  void heal();

  // The truth.
  [[nodiscard]] std::vector<const SimulatedDialog*> live() const;
  [[nodiscard]] const SimulatedDialog* dialogWithButton(memory::ElementID button, const std::string& label) const;
  [[nodiscard]] bool isDisabled(memory::ElementID button) const { return disabled_.contains(button); }
  /// Whether the dialog reads so now or did until a moment ago: a reading takes its time.
  [[nodiscard]] bool reads(const SimulatedDialog& dialog, const DialogText& text) const;
  /// Whether any dialog has ever read so; until it was forgotten twice, as a list may still hold it for its grace.
  [[nodiscard]] bool hasEverRead(const DialogText& text) const {
    return everRead_.contains(text) || forgotten_.contains(text);
  }
  [[nodiscard]] std::string name(std::int32_t application) const { return names_.at(application); }
  [[nodiscard]] std::size_t openedCount() const { return opened_; }
  /// Whether a surprise came at this very moment.
  [[nodiscard]] bool changedThisMoment() const { return surprisedAt_ == clock_.continuous(); }
  /// Forgets the dialogs that are gone.
  void forgetClosed();

 private:
  void show(std::int32_t application, const DialogText& text, const DialogFrame& frame);
  [[nodiscard]] SimulatedDialog* pickLive();
  void setText(SimulatedDialog& dialog, DialogText text);
  void changeLine(SimulatedDialog& dialog);
  void rename(SimulatedDialog& dialog);
  void toggleButton(SimulatedDialog& dialog);
  void move(SimulatedDialog& dialog);

  memory::MemoryDesktop& desktop_;
  Clock& clock_;
  Random random_;
  std::vector<std::int32_t> applications_;
  std::map<std::int32_t, std::string> names_;
  std::int32_t coverer_ = 0;
  std::vector<memory::ElementID> covers_;
  std::vector<SimulatedDialog> dialogs_;
  std::set<DialogText> everRead_;
  std::set<DialogText> forgotten_;
  std::set<memory::ElementID> disabled_;
  int number_ = 0;
  std::size_t opened_ = 0;
  Seconds surprisedAt_{-1};
};

}  // namespace tallyfox::sim
