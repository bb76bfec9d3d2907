// A real browser, whose questions are no windows: they are told of when they take the focus, read as sheets of the
// browser's window, and answered; and the browser is asked to open up to nobody else.

#include <chrono>
#include <fstream>
#include <utility>

#include "desktop/AccessibilityFixture.hpp"
#include "desktop/X11EventLoop.hpp"
#include "platform/linux/AtspiEventSource.hpp"

namespace tallyfox::testing {
namespace {

using linux_os::AtspiChange;
using linux_os::AtspiChangeKind;
using ::testing::Contains;

/// Browsers start slowly on a busy machine.
constexpr Seconds browserTime{40};

class AccessibilityOfABrowser : public AccessibilityFixture {
 protected:
  AccessibilityOfABrowser() {
    loop_.sync([this] {
      source_ = std::make_unique<linux_os::AtspiEventSource>(session.sessionBusAddress(), loop_);
      changes_ = source_->subscribe([this](const AtspiChange& change) { told_.add(change); });
    });
  }
  ~AccessibilityOfABrowser() override {
    loop_.sync([this] {
      changes_.reset();
      source_.reset();
    });
  }

  /// A page in a browser of its own, already registered.
  [[nodiscard]] std::unique_ptr<DesktopProcess> browse(const std::string& page) {
    const auto file = session.directory() / "page.html";
    std::ofstream(file) << "<!doctype html><meta charset=utf-8><title>Shop</title>" << page;
    auto browser = session.start({"chromium", "--no-sandbox", "--force-renderer-accessibility", "--no-first-run",
                                  "--password-store=basic", "--disable-gpu", "--disable-background-networking",
                                  "--user-data-dir=" + (session.directory() / "browser").string(), file.string()});
    const AtspiChange registered{.kind = AtspiChangeKind::programRegistered, .processIdentifier = browser->pid()};
    EXPECT_TRUE(DesktopSession::waitUntil([&] { return told_.has(registered); }, browserTime));
    EXPECT_THAT(source_->programs(), Contains(browser->pid()));
    return browser;
  }
  /// The sheet around the focus, once there is one with this title.
  [[nodiscard]] std::optional<AXUIElement> focusedSheet(const std::string& title) {
    std::optional<AXUIElement> sheet;
    (void)DesktopSession::waitUntil(
        [&] {
          const auto focused = helpers.focusedElement();
          sheet = focused ? helpers.nearestWindow(*focused, 20) : std::nullopt;
          return sheet && helpers.stringAttribute(*sheet, AXAttribute::role) == ax_role::sheet &&
                 helpers.stringAttribute(*sheet, AXAttribute::title) == title;
        },
        browserTime);
    return sheet;
  }
  [[nodiscard]] std::vector<std::string> textsOf(const AXUIElement& element) {
    std::vector<std::string> texts;
    for (const AXUIElement& text : elementsOf(element, ax_role::staticText))
      texts.push_back(helpers.stringAttribute(text, AXAttribute::value).value_or(""));
    return texts;
  }
  /// What the page says of itself in the window's title.
  [[nodiscard]] bool pageSays(const DesktopProcess& browser, const std::string& word, Seconds atMost = browserTime) {
    return DesktopSession::waitUntil(
        [&] {
          const auto window = screenWindowOf(browser.pid());
          return window && window->title.starts_with(word);
        },
        atMost);
  }

  X11EventLoop loop_;
  std::unique_ptr<linux_os::AtspiEventSource> source_;
  std::unique_ptr<Subscription> changes_;
  X11Record<AtspiChange> told_;
};

TEST_F(AccessibilityOfABrowser, aScriptsQuestionIsToldReadAndAnswered) {
  const auto browser = browse(
      "<script>setTimeout(() => { document.title = confirm('Delete all your files?') ? 'deleted' : 'kept' }, 2000)"
      "</script>");
  const auto sheet = focusedSheet("This page says");
  ASSERT_TRUE(sheet);
  EXPECT_TRUE(told_.gets({.kind = AtspiChangeKind::focusMoved, .processIdentifier = browser->pid()}));
  EXPECT_THAT(textsOf(*sheet), Contains("Delete all your files?"));
  const auto ok = button(*sheet, "OK");
  ASSERT_TRUE(ok && button(*sheet, "Cancel"));
  const auto frame = helpers.frame(*ok);
  ASSERT_TRUE(frame);
  const auto hit = accessibility.elementAtPosition({.x = frame->centerX(), .y = frame->centerY()});
  ASSERT_TRUE(hit);
  EXPECT_EQ(helpers.nearestButton(*hit, 8), *ok);
  // The browser takes no answer to a question that has only just appeared, nor one that follows another at once.
  bool isAnswered = false;
  for (int attempt = 0; attempt < 5 && !isAnswered; ++attempt) {
    EXPECT_TRUE(accessibility.performAction(*ok, ax_action::press));
    isAnswered = pageSays(*browser, "deleted", Seconds(3));
  }
  EXPECT_TRUE(isAnswered);
}

TEST_F(AccessibilityOfABrowser, aPagesOwnDialogIsToldReadAndAnswered) {
  const auto browser = browse(
      "<p>Shop</p><div id=place></div><script>setTimeout(() => { place.innerHTML = '<div role=alertdialog "
      "aria-modal=true aria-label=\"Delete account\"><p>Are you sure?</p><button id=keep "
      "onclick=\"document.title=&quot;kept&quot;\">Cancel</button><button "
      "onclick=\"document.title=&quot;deleted&quot;\">Delete</button></div>'; keep.focus() }, 2000)</script>");
  const auto sheet = focusedSheet("Delete account");
  ASSERT_TRUE(sheet);
  EXPECT_TRUE(told_.gets({.kind = AtspiChangeKind::focusMoved, .processIdentifier = browser->pid()}));
  EXPECT_THAT(textsOf(*sheet), Contains("Are you sure?"));
  const auto found = button(*sheet, "Delete");
  ASSERT_TRUE(found);
  EXPECT_TRUE(accessibility.performAction(*found, ax_action::press));
  EXPECT_TRUE(pageSays(*browser, "deleted"));
}

TEST_F(AccessibilityOfABrowser, aPageThatTypesAndScrollsWakesNobody) {
  const auto browser = browse(
      "<p id=text>0</p><div style='height:9000px'></div><script>setTimeout(() => { document.title = 'playing'; let n "
      "= 0; setInterval(() => { text.textContent = ++n; scrollTo(0, n % 900) }, 30) }, 1000)</script>");
  ASSERT_TRUE(pageSays(*browser, "playing"));
  // What the start of the page told has been told once the window tells nothing for a while.
  int before = -1;
  EXPECT_TRUE(DesktopSession::waitUntil([&] { return std::exchange(before, loop_.wakeUps()) == loop_.wakeUps(); }));
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(2);
  (void)DesktopSession::waitUntil([&] { return std::chrono::steady_clock::now() >= end; });
  EXPECT_EQ(loop_.wakeUps(), before);
}

}  // namespace
}  // namespace tallyfox::testing
