#pragma once

/// What every maker of keys and clicks keeps to: an event goes out once, and one that is meant for a process reaches
/// that process or nobody.
///
/// A backend joins with INSTANTIATE_TYPED_TEST_SUITE_P(Name, SyntheticInputContract, TheBackend), where TheBackend is
/// default-constructible and has
///   SyntheticInput& input();
///   void onMain(const std::function<void()>& work);   runs it on the main thread; returns when it is done
///   bool waitUntil(const std::function<bool()>& condition);   bounded; says whether the condition holds
///   std::int32_t openReceiver(const DialogFrame& frame);   starts an application with a window there, in front of all
///                                            others and with the focus; returns its process once input can get through
///   void focus(std::int32_t pid);            gives its window the focus and the front; as openReceiver
///   void quit(std::int32_t pid);
///   std::vector<std::string> received(std::int32_t pid);   what input the application got so far, in order, such as
///                                            "key 49 down", "mouse leftDown 120,80"
/// and, where systems differ,
///   SyntheticInput& missingInput();          as on a system that has none; absent where every system has it
///   bool directsKeysAnywhere();              whether keys can be directed to a process without the focus

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "model/DialogFrame.hpp"
#include "platform/SyntheticInput.hpp"

namespace tallyfox::contract {

template <typename Backend>
class SyntheticInputContract : public testing::Test {
 protected:
  using Strings = std::vector<std::string>;
  using Post = std::function<void(SyntheticEvent&)>;
  static constexpr DialogFrame left{100, 100, 300, 200};
  static constexpr DialogFrame right{600, 100, 300, 200};
  static constexpr AXPoint leftMiddle{250, 220};
  static constexpr AXPoint rightMiddle{750, 220};

  static Post toProcess(std::int32_t pid) {
    return [pid](SyntheticEvent& event) { event.postToProcess(pid); };
  }
  static Post globally() {
    return [](SyntheticEvent& event) { event.postGlobally(); };
  }
  void press(KeyCode key, const Post& post) {
    backend.onMain([&] {
      for (const bool isDown : {true, false}) {
        const auto event = backend.input().createKeyEvent({key, isDown});
        ASSERT_NE(event, nullptr);
        post(*event);
      }
    });
  }
  void postMouse(MouseEventKind kind, AXPoint point, const Post& post) {
    backend.onMain([&] {
      const auto event = backend.input().createMouseEvent({kind, point});
      ASSERT_NE(event, nullptr);
      post(*event);
    });
  }
  void click(AXPoint point, const Post& post) {
    postMouse(MouseEventKind::leftDown, point, post);
    postMouse(MouseEventKind::leftUp, point, post);
  }
  /// A click brings the pointer along.
  Strings receivedButMoves(std::int32_t pid) {
    Strings entries = backend.received(pid);
    std::erase_if(entries, [](const std::string& entry) { return entry.starts_with("mouse moved"); });
    return entries;
  }
  /// Exactly these, and nothing after them as far as the events that were posted last tell.
  void expectReceived(std::int32_t pid, const Strings& expected) {
    EXPECT_TRUE(backend.waitUntil([&] { return receivedButMoves(pid).size() >= expected.size(); }));
    EXPECT_EQ(receivedButMoves(pid), expected);
  }

  static inline const Strings space = {"key 49 down", "key 49 up"};
  static inline const Strings returnKey = {"key 36 down", "key 36 up"};
  static inline const Strings nothing;
  static inline const Strings leftClick = {"mouse leftDown 250,220", "mouse leftUp 250,220"};
  static inline const Strings rightClick = {"mouse leftDown 750,220", "mouse leftUp 750,220"};

  Backend backend;
};

TYPED_TEST_SUITE_P(SyntheticInputContract);

TYPED_TEST_P(SyntheticInputContract, makesEveryKindOfEvent) {
  this->backend.onMain([this] {
    for (const KeyCode key : {KeyCode::returnKey, KeyCode::space, KeyCode::escape})
      for (const bool isDown : {true, false})
        EXPECT_NE(this->backend.input().createKeyEvent({key, isDown}), nullptr);
    for (const MouseEventKind kind : {MouseEventKind::moved, MouseEventKind::leftDown, MouseEventKind::leftUp})
      EXPECT_NE(this->backend.input().createMouseEvent({kind, {10, 20}}), nullptr);
  });
}

TYPED_TEST_P(SyntheticInputContract, doesNothingByCreationAlone) {
  const std::int32_t pid = this->backend.openReceiver(this->left);
  this->backend.onMain([this] {
    const auto unposted = this->backend.input().createKeyEvent({KeyCode::returnKey, true});
    ASSERT_NE(unposted, nullptr);
  });
  this->press(KeyCode::space, this->toProcess(pid));
  this->expectReceived(pid, this->space);
}

TYPED_TEST_P(SyntheticInputContract, deliversEveryKeyByItsCode) {
  const std::int32_t pid = this->backend.openReceiver(this->left);
  for (const KeyCode key : {KeyCode::returnKey, KeyCode::space, KeyCode::escape})
    this->press(key, this->toProcess(pid));
  this->expectReceived(pid, {"key 36 down", "key 36 up", "key 49 down", "key 49 up", "key 53 down", "key 53 up"});
}

TYPED_TEST_P(SyntheticInputContract, keepsKeysForOneProcessFromTheOneThatHasTheFocus) {
  const std::int32_t behind = this->backend.openReceiver(this->left);
  const std::int32_t front = this->backend.openReceiver(this->right);
  this->press(KeyCode::returnKey, this->toProcess(behind));
  this->press(KeyCode::space, this->toProcess(front));
  this->expectReceived(front, this->space);
  EXPECT_EQ(this->receivedButMoves(behind), this->backend.directsKeysAnywhere() ? this->returnKey : this->nothing);
}

TYPED_TEST_P(SyntheticInputContract, deliversGlobalKeysToTheFocus) {
  const std::int32_t one = this->backend.openReceiver(this->left);
  const std::int32_t other = this->backend.openReceiver(this->right);
  this->backend.focus(one);
  this->press(KeyCode::space, this->globally());
  this->expectReceived(one, this->space);
  this->backend.focus(other);
  this->press(KeyCode::escape, this->globally());
  this->expectReceived(other, {"key 53 down", "key 53 up"});
  this->expectReceived(one, this->space);
}

TYPED_TEST_P(SyntheticInputContract, clicksAtThePointInTheWindowOfTheProcess) {
  const std::int32_t behind = this->backend.openReceiver(this->left);
  const std::int32_t front = this->backend.openReceiver(this->right);
  this->click(this->rightMiddle, this->toProcess(front));
  this->expectReceived(front, this->rightClick);
  this->click(this->leftMiddle, this->toProcess(behind));
  this->expectReceived(behind, this->leftClick);
  this->expectReceived(front, this->rightClick);
}

TYPED_TEST_P(SyntheticInputContract, keepsClicksForOneProcessFromTheWindowInFront) {
  const std::int32_t behind = this->backend.openReceiver(this->left);
  const std::int32_t front = this->backend.openReceiver(this->left);
  this->click({220, 210}, this->toProcess(behind));
  this->click(this->leftMiddle, this->toProcess(front));
  this->expectReceived(front, this->leftClick);
  this->expectReceived(behind, {});
}

TYPED_TEST_P(SyntheticInputContract, clicksGloballyOnWhateverIsInFront) {
  const std::int32_t behind = this->backend.openReceiver(this->left);
  const std::int32_t front = this->backend.openReceiver(this->left);
  this->click(this->leftMiddle, this->globally());
  this->expectReceived(front, this->leftClick);
  this->backend.focus(behind);
  this->click(this->leftMiddle, this->globally());
  this->expectReceived(behind, this->leftClick);
  this->expectReceived(front, this->leftClick);
}

TYPED_TEST_P(SyntheticInputContract, movesThePointer) {
  const std::int32_t pid = this->backend.openReceiver(this->left);
  const auto hasMoved = [&](const std::string& place) {
    return this->backend.waitUntil([&] {
      const auto received = this->backend.received(pid);
      return std::ranges::count(received, "mouse moved " + place) > 0;
    });
  };
  this->postMouse(MouseEventKind::moved, {210, 205}, this->toProcess(pid));
  EXPECT_TRUE(hasMoved("210,205"));
  this->postMouse(MouseEventKind::moved, {230, 215}, this->globally());
  EXPECT_TRUE(hasMoved("230,215"));
  this->expectReceived(pid, {});
}

TYPED_TEST_P(SyntheticInputContract, postsAnEventOnce) {
  const std::int32_t pid = this->backend.openReceiver(this->left);
  this->backend.onMain([&] {
    const auto down = this->backend.input().createKeyEvent({KeyCode::space, true});
    const auto up = this->backend.input().createKeyEvent({KeyCode::space, false});
    ASSERT_TRUE(down && up);
    for (int round = 0; round < 2; ++round) {
      down->postToProcess(pid);
      up->postToProcess(pid);
      down->postGlobally();
      up->postGlobally();
    }
  });
  this->press(KeyCode::escape, this->toProcess(pid));
  this->expectReceived(pid, {"key 49 down", "key 49 up", "key 53 down", "key 53 up"});
}

TYPED_TEST_P(SyntheticInputContract, deliversNothingForAProcessThatIsGone) {
  const std::int32_t gone = this->backend.openReceiver(this->left);
  const std::int32_t pid = this->backend.openReceiver(this->left);
  this->backend.quit(gone);
  this->backend.focus(pid);
  for (const std::int32_t nobody : {gone, 0, -1}) {
    this->press(KeyCode::returnKey, this->toProcess(nobody));
    this->click(this->leftMiddle, this->toProcess(nobody));
  }
  this->press(KeyCode::space, this->toProcess(pid));
  this->expectReceived(pid, this->space);
}

TYPED_TEST_P(SyntheticInputContract, makesNothingWhereTheSystemHasNone) {
  if constexpr (requires { this->backend.missingInput(); }) {
    this->backend.onMain([this] {
      SyntheticInput& missing = this->backend.missingInput();
      EXPECT_EQ(missing.createKeyEvent({KeyCode::space, true}), nullptr);
      EXPECT_EQ(missing.createMouseEvent({MouseEventKind::leftDown, {10, 20}}), nullptr);
    });
  } else {
    GTEST_SKIP() << "Every system of this backend has synthetic input.";
  }
}

REGISTER_TYPED_TEST_SUITE_P(SyntheticInputContract, makesEveryKindOfEvent, doesNothingByCreationAlone,
                            deliversEveryKeyByItsCode, keepsKeysForOneProcessFromTheOneThatHasTheFocus,
                            deliversGlobalKeysToTheFocus, clicksAtThePointInTheWindowOfTheProcess,
                            keepsClicksForOneProcessFromTheWindowInFront, clicksGloballyOnWhateverIsInFront,
                            movesThePointer, postsAnEventOnce, deliversNothingForAProcessThatIsGone,
                            makesNothingWhereTheSystemHasNone);

}  // namespace tallyfox::contract
