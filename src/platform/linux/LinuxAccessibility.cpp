#include "platform/linux/LinuxAccessibility.hpp"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <thread>
#include <unordered_set>
#include <utility>
#include <vector>

#include "platform/linux/AtspiActions.hpp"
#include "platform/linux/AtspiAttributes.hpp"
#include "platform/linux/AtspiElement.hpp"
#include "platform/linux/AtspiHitTest.hpp"
#include "platform/linux/AtspiSession.hpp"
#include "platform/linux/AtspiTasks.hpp"
#include "platform/linux/X11Layer.hpp"

namespace tallyfox::linux_os {
namespace {

constexpr std::unexpected unsupported(AXError::unsupported);

/// A foreign time-out beyond this would be none; below, no program could answer.
constexpr Seconds longestTimeout{60};
constexpr Seconds shortestTimeout{0.001};

std::chrono::microseconds timeoutOf(Seconds seconds) {
  const Seconds bounded =
      std::isnan(seconds.count()) ? longestTimeout : std::clamp(seconds, shortestTimeout, longestTimeout);
  return std::chrono::duration_cast<std::chrono::microseconds>(bounded);
}

/// Questions of the system-wide element have a time-out of their own.
class SystemWideTimeout {
 public:
  SystemWideTimeout(AtspiSession& session, bool isSystemWide) : session_(session), isSystemWide_(isSystemWide) {
    set(session_.systemWideTimeout());
  }
  ~SystemWideTimeout() { set(std::nullopt); }
  SystemWideTimeout(const SystemWideTimeout&) = delete;
  SystemWideTimeout& operator=(const SystemWideTimeout&) = delete;

 private:
  void set(std::optional<std::chrono::microseconds> timeout) {
    if (!isSystemWide_) return;
    if (AtspiBus* bus = session_.bus()) bus->setTimeoutOfAll(timeout);
  }
  AtspiSession& session_;
  bool isSystemWide_;
};

}  // namespace

/// What all threads have in common. Read scopes keep it alive.
struct LinuxAccessibility::Shared {
  Shared(std::shared_ptr<X11Desktop> ofDesktop, Console& onConsole, std::string busAddress, Reports wanted)
      : desktop(std::move(ofDesktop)),
        console(onConsole),
        sessionBusAddress(std::move(busAddress)),
        reports(std::move(wanted)) {}

  /// The calling thread's own. A thread that takes over the number of one that ended takes over its session.
  AtspiSession& session() {
    const std::scoped_lock lock(mutex);
    auto& session = sessions[std::this_thread::get_id()];
    if (!session) session = std::make_unique<AtspiSession>(desktop, signs, reports.onSilence, sessionBusAddress);
    return *session;
  }

  void report(const std::optional<std::string>& reason) {
    const std::scoped_lock lock(mutex);
    if (reason == reported) return;
    reported = reason;
    if (reason) console.printLine("Accessibility is unavailable: " + *reason + ".");
  }

  std::shared_ptr<X11Desktop> desktop;
  Console& console;
  std::string sessionBusAddress;
  Reports reports;
  std::shared_ptr<SignsOfLife> signs = std::make_shared<SignsOfLife>();
  std::mutex mutex;
  std::map<std::thread::id, std::unique_ptr<AtspiSession>> sessions;
  std::optional<std::string> reported;
};

namespace {

const std::vector<AtspiWindow> noWindows;

/// One reading, made when the scope is opened.
class ReadScope final : public AXReadScope {
 public:
  ReadScope(std::shared_ptr<void> keptAlive, AtspiSession& session, UnseenWindows* unseenWindows,
            const AXReadPlan& plan)
      : keptAlive_(std::move(keptAlive)), reading_(session, session.scope()) {
    session.openScope(reading_);
    if (session.bus() == nullptr) return;
    read(plan);
    if (unseenWindows != nullptr) report(*unseenWindows, plan);
  }
  ~ReadScope() override { reading_.session().closeScope(reading_); }

 private:
  void read(const AXReadPlan& plan) {
    (void)reading_.screen();
    std::set<std::int32_t> processes;
    std::unordered_set<AtspiReference> objects;
    for (const AXUIElement& root : plan.roots) {
      const AtspiElement* element = AtspiElement::of(root);
      if (element == nullptr) continue;
      if (element->kind() == AtspiElement::Kind::systemWide) {
        if (const auto active = activeProcess()) processes.insert(*active);
        continue;
      }
      processes.insert(element->processIdentifier());
      if (element->kind() == AtspiElement::Kind::object) objects.insert(element->reference());
    }

    std::optional<AtspiWindowNeeds> windowNeeds;
    if (plan.descendantLimit > 0 && std::ranges::find(plan.attributes, AXAttribute::windows) != plan.attributes.end())
      windowNeeds = {.descendantLimit = plan.descendantLimit, .ofElements = AtspiNeeds::of(plan.attributes)};
    std::vector<std::unique_ptr<ApplicationTask>> applications;
    for (const std::int32_t process : processes)
      applications.push_back(std::make_unique<ApplicationTask>(reading_, process, windowNeeds));
    std::vector<std::unique_ptr<WalkTask>> walks;
    for (const AtspiReference& object : objects)
      walks.push_back(
          std::make_unique<WalkTask>(reading_, object, plan.descendantLimit, AtspiNeeds::of(plan.attributes)));
    for (const auto& task : applications)
      task->advance();
    for (const auto& task : walks)
      task->advance();
    if (AtspiBus* bus = reading_.session().bus()) bus->run();
  }

  /// Of the programs whose windows were asked for.
  void report(UnseenWindows& unseenWindows, const AXReadPlan& plan) {
    std::set<std::int32_t> processes;
    std::set<XWindowID> seen;
    for (const AXUIElement& root : plan.roots) {
      const AtspiElement* element = AtspiElement::of(root);
      if (element == nullptr || element->kind() != AtspiElement::Kind::application) continue;
      processes.insert(element->processIdentifier());
      for (const AtspiWindow& window : reading_.windowsOf(element->processIdentifier()).value_or(noWindows))
        if (window.screenWindow) seen.insert(window.screenWindow->id);
    }
    if (processes.empty()) return;
    std::vector<XWindow> unseen = reading_.screen().windows;
    std::erase_if(unseen, [&](const XWindow& window) {
      return !window.processIdentifier || !processes.contains(*window.processIdentifier) || seen.contains(window.id) ||
             !isInTaskList(window.layer);
    });
    unseenWindows.note(unseen, UnseenWindows::Clock::now());
  }

  std::optional<std::int32_t> activeProcess() {
    const AtspiScreen& screen = reading_.screen();
    for (const XWindow& window : screen.windows) {
      if (window.id == screen.active) return window.processIdentifier;
    }
    return std::nullopt;
  }

  std::shared_ptr<void> keptAlive_;
  AtspiReading reading_;
};

}  // namespace

LinuxAccessibility::LinuxAccessibility(std::shared_ptr<X11Desktop> desktop, Console& console,
                                       std::string sessionBusAddress, Reports reports)
    : shared_(std::make_shared<Shared>(std::move(desktop), console, std::move(sessionBusAddress), std::move(reports))) {
}

LinuxAccessibility::~LinuxAccessibility() = default;

void LinuxAccessibility::heardOf(std::int32_t processIdentifier) {
  shared_->signs->note(processIdentifier);
}

bool LinuxAccessibility::isProcessTrusted() {
  AtspiSession& session = shared_->session();
  session.beginQuestion();
  const auto enabled = session.status().isEnabled();
  std::optional<std::string> reason;
  if (!enabled) {
    reason = enabled.error();
  } else if (!*enabled) {
    reason = "it is switched off for this session (org.a11y.Status.IsEnabled)";
  } else if (session.bus() == nullptr) {
    reason = "the accessibility bus cannot be reached";
  }
  shared_->report(reason);
  return !reason;
}

AXUIElement LinuxAccessibility::applicationElement(std::int32_t processIdentifier) {
  return AtspiElement::application(processIdentifier);
}

AXUIElement LinuxAccessibility::systemWideElement() {
  return AtspiElement::systemWide();
}

std::expected<AXUIElement, AXError> LinuxAccessibility::elementAtPosition(AXPoint point) {
  AtspiSession& session = shared_->session();
  session.beginQuestion();
  const SystemWideTimeout timeout(session, true);
  // What lies on top is asked of the moment, never of an earlier reading.
  AtspiReading reading(session, nullptr);
  const auto object = objectAt(point, reading);
  if (!object) return std::unexpected(object.error());
  return AtspiElement::object(*object, session.processOf(object->busName));
}

std::unique_ptr<AXReadScope> LinuxAccessibility::willRead(const AXReadPlan& plan) {
  return std::make_unique<ReadScope>(shared_, shared_->session(), shared_->reports.unseenWindows.get(), plan);
}

std::expected<AXValue, AXError> LinuxAccessibility::copyAttribute(const AXUIElement& element, AXAttribute attribute) {
  const AtspiElement* own = AtspiElement::of(element);
  if (own == nullptr) return std::unexpected(AXError::invalidElement);
  AtspiSession& session = shared_->session();
  session.beginQuestion();
  if (session.bus() == nullptr) return std::unexpected(AXError::notTrusted);
  const SystemWideTimeout timeout(session, own->kind() == AtspiElement::Kind::systemWide);
  AtspiReading reading(session, session.scope());
  return AtspiAttributes(reading).copy(*own, attribute);
}

std::expected<void, AXError> LinuxAccessibility::setAttribute(const AXUIElement& element, AXAttribute attribute,
                                                              const AXValue& value) {
  const AtspiElement* own = AtspiElement::of(element);
  if (own == nullptr) return std::unexpected(AXError::invalidElement);
  AtspiSession& session = shared_->session();
  session.beginQuestion();
  session.endReadings();
  AtspiReading reading(session, nullptr);
  return AtspiActions(reading).set(*own, attribute, value);
}

std::expected<std::vector<std::string>, AXError> LinuxAccessibility::copyActionNames(const AXUIElement& element) {
  const AtspiElement* own = AtspiElement::of(element);
  if (own == nullptr) return std::unexpected(AXError::invalidElement);
  AtspiSession& session = shared_->session();
  session.beginQuestion();
  AtspiReading reading(session, session.scope());
  return AtspiActions(reading).names(*own);
}

std::expected<void, AXError> LinuxAccessibility::performAction(const AXUIElement& element, std::string_view action) {
  const AtspiElement* own = AtspiElement::of(element);
  if (own == nullptr) return std::unexpected(AXError::invalidElement);
  AtspiSession& session = shared_->session();
  session.beginQuestion();
  session.endReadings();
  AtspiReading reading(session, nullptr);
  return AtspiActions(reading).perform(*own, action);
}

std::expected<std::int32_t, AXError> LinuxAccessibility::processIdentifier(const AXUIElement& element) {
  const AtspiElement* own = AtspiElement::of(element);
  if (own == nullptr || own->kind() == AtspiElement::Kind::systemWide) return unsupported;
  if (own->processIdentifier() == 0) return std::unexpected(AXError::invalidElement);
  return own->processIdentifier();
}

void LinuxAccessibility::setMessagingTimeout(const AXUIElement& element, Seconds timeout) {
  const AtspiElement* own = AtspiElement::of(element);
  if (own == nullptr) return;
  if (own->kind() == AtspiElement::Kind::application)
    shared_->session().setTimeout(own->processIdentifier(), timeoutOf(timeout));
  if (own->kind() == AtspiElement::Kind::systemWide) shared_->session().setSystemWideTimeout(timeoutOf(timeout));
}

}  // namespace tallyfox::linux_os
