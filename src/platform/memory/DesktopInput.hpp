#pragma once

#include <map>
#include <memory>
#include <optional>

#include "platform/SyntheticInput.hpp"
#include "platform/memory/DesktopModel.hpp"

namespace tallyfox::memory {

/// A keyboard and a mouse on the model.
class DesktopInput : public SyntheticInput, public std::enable_shared_from_this<DesktopInput> {
 public:
  explicit DesktopInput(DesktopModel& model) : model_(model) {}

  std::unique_ptr<SyntheticEvent> createKeyEvent(const KeyEvent& event) override;
  std::unique_ptr<SyntheticEvent> createMouseEvent(const MouseEvent& event) override;

  /// To one process, or as the hardware when none is given.
  void deliver(const KeyEvent& event, std::optional<std::int32_t> pid);
  void deliver(const MouseEvent& event, std::optional<std::int32_t> pid);

  bool failsCreation = false;

 private:
  [[nodiscard]] ElementID buttonFor(KeyCode key, std::int32_t pid) const;
  [[nodiscard]] ElementID buttonAt(AXPoint point) const;
  [[nodiscard]] bool answers(std::int32_t pid) const;

  DesktopModel& model_;
  ElementID heldBySpace_ = 0;  ///< the button on which the key went down
  ElementID heldByMouse_ = 0;
};

}  // namespace tallyfox::memory
