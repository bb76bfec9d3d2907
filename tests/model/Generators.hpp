#pragma once

#include <rapidcheck.h>

#include <cstdint>
#include <ostream>

#include "base/Generators.hpp"
#include "model/PendingApproval.hpp"
#include "model/RelayCommands.hpp"
#include "model/RelayConnectionStatus.hpp"

namespace tallyfox {

template <typename Record>
  requires requires(const Record& record) { jsonText(record.json()); }
void showValue(const Record& record, std::ostream& stream) {
  stream << jsonText(record.json());
}

namespace generate {

inline rc::Gen<DialogFrame> dialogFrame() {
  return rc::gen::build<DialogFrame>(
      rc::gen::set(&DialogFrame::x, finiteNumber()), rc::gen::set(&DialogFrame::y, finiteNumber()),
      rc::gen::set(&DialogFrame::width, finiteNumber()), rc::gen::set(&DialogFrame::height, finiteNumber()));
}

inline rc::Gen<DialogButton> dialogButton() {
  return rc::gen::build<DialogButton>(
      rc::gen::set(&DialogButton::label, text()), rc::gen::set(&DialogButton::role, text()),
      rc::gen::set(&DialogButton::x, finiteNumber()), rc::gen::set(&DialogButton::y, finiteNumber()),
      rc::gen::set(&DialogButton::width, finiteNumber()), rc::gen::set(&DialogButton::height, finiteNumber()));
}

/// Any record that JSON can hold: finite numbers and a writable date.
inline rc::Gen<PendingApproval> approval() {
  using A = PendingApproval;
  return rc::gen::build<A>(
      rc::gen::set(&A::id, uuid()), rc::gen::set(&A::suppressionID, uuid()),
      rc::gen::set(&A::detectedAt, wholeSecond()), rc::gen::set(&A::appName, text()),
      rc::gen::set(&A::bundleIdentifier, optional(text())), rc::gen::set(&A::processIdentifier),
      rc::gen::set(&A::windowTitle, text()), rc::gen::set(&A::windowRole, text()),
      rc::gen::set(&A::windowFrame, dialogFrame()), rc::gen::set(&A::messageLines, rc::gen::resize(8, texts())),
      rc::gen::set(&A::reason, text()),
      rc::gen::set(&A::buttons, rc::gen::resize(8, rc::gen::container<std::vector<DialogButton>>(dialogButton()))),
      rc::gen::set(&A::recommendedButtonLabel, optional(text())), rc::gen::set(&A::requiresDirectAccess),
      rc::gen::set(&A::directAccessReason, optional(text())), rc::gen::set(&A::isFallbackDetection));
}

inline rc::Gen<RelayPhoneStatus> phoneStatus() {
  using S = RelayPhoneStatus;
  return rc::gen::build<S>(rc::gen::set(&S::deviceID, text()), rc::gen::set(&S::deviceName, text()),
                           rc::gen::set(&S::platform, optional(text())),
                           rc::gen::set(&S::connected, optional(rc::gen::arbitrary<bool>())));
}

inline rc::Gen<ApprovalRequestCommand> requestCommand() {
  using C = ApprovalRequestCommand;
  return rc::gen::build<C>(rc::gen::set(&C::approvalID, uuid()), rc::gen::set(&C::buttonLabel, text()));
}

inline rc::Gen<ApprovalSuppressionCommand> suppressionCommand() {
  using C = ApprovalSuppressionCommand;
  return rc::gen::build<C>(rc::gen::set(&C::action, text()), rc::gen::set(&C::approvalID, optional(uuid())),
                           rc::gen::set(&C::suppressionID, uuid()));
}

inline rc::Gen<ApprovalResultCommand> resultCommand() {
  using C = ApprovalResultCommand;
  return rc::gen::build<C>(rc::gen::set(&C::approvalID, uuid()), rc::gen::set(&C::buttonLabel, text()),
                           rc::gen::set(&C::status, text()), rc::gen::set(&C::error, optional(text())));
}

}  // namespace generate
}  // namespace tallyfox
