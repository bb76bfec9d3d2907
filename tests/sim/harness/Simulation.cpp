#include "sim/harness/Simulation.hpp"

#include <algorithm>
#include <array>
#include <chrono>
#include <utility>

#include "detection/DialogIdentity.hpp"

namespace tallyfox::sim {
namespace {

/// What an agent may need at most after the last fault: the grace of a dialog that went and its rescan, one sweep, and
/// the time for the scans themselves and the way to the phone.
constexpr Seconds graceAndSweep{8.5 + 300 + 10};

}  // namespace

void CountingQueue::post(Task task) {
  onPost_(++*waiting_);
  queue_.post([waiting = waiting_, task = std::move(task)]() mutable {
    task();
    --*waiting;
  });
}

Simulation::Simulation(std::uint64_t seed)
    : Simulation(Random(seed), [scenarios = Random(seed)]() mutable { return Scenario::of(scenarios); }()) {}

Simulation::Simulation(std::uint64_t seed, const Scenario& scenario) : Simulation(Random(seed), scenario) {}

Simulation::Simulation(Random random, const Scenario& scenario)
    : random_(random),
      scenario_(scenario),
      screen_(world_.desktop, world_.time.clock(), random_.fork()),
      checker_(screen_, world_.time.clock(),
               [this](std::size_t socket) { return world_.network.sockets().at(socket).isOpen; }),
      relay_(world_, *director_, checker_, screen_, scenario_, random_.fork()),
      scanQueue_(*world_.scanQueue, [this](int waiting) { checker_.noteScansWaiting(waiting); }) {
  world_.desktop.onTouch([this](const memory::Touch& touch) { checker_.touch(touch); });
  world_.desktop.onMessage([this](const memory::Message&) { return answerMessage(); });
  launch();
  scheduleNext();
}

Simulation::~Simulation() {
  world_.desktop.onTouch({});
  world_.desktop.onMessage({});
}

void Simulation::onMain(std::function<void()> work) {
  world_.mainQueue->post(std::move(work));
}

void Simulation::launch() {
  if (!isCalm_ && random_.chance(scenario_.keychainFails)) {
    world_.keychain.failNext(memory::MemoryKeychain::Operation::copyMatching, true,
                             keychain_status::interactionNotAllowed);
  }
  onMain([this] {
    agent_ = std::make_unique<AppDelegate>(world_.platform({.scanQueue = &scanQueue_}), world_.interface);
    agent_->applicationDidFinishLaunching();
  });
}

std::optional<AXError> Simulation::answerMessage() {
  if (isCalm_) return std::nullopt;
  if (random_.chance(scenario_.screenChanges)) checker_.tell(std::string("suddenly: ") + screen_.surprise());
  if (random_.chance(scenario_.messageTimesOut)) {
    checker_.tell("a message times out");
    return AXError::cannotComplete;
  }
  return std::nullopt;
}

void Simulation::scheduleNext() {
  next_ = director_->after(Seconds(random_.between(scenario_.shortestPause, scenario_.longestPause)), [this] {
    happen();
    if (++happened_ < scenario_.happenings) scheduleNext();
  });
}

void Simulation::happen() {
  const std::array happenings = {
      Happening{"open", 3, &Simulation::open},
      Happening{"close", 1, &Simulation::close},
      Happening{"request", 4, &Simulation::request},
      Happening{"healScreen", 1, &Simulation::healScreen},
      Happening{"change", scenario_.change, &Simulation::change},
      Happening{"replace", scenario_.replace, &Simulation::replace},
      Happening{"cover", scenario_.cover, &Simulation::cover},
      Happening{"misbehave", scenario_.misbehave, &Simulation::misbehave},
      Happening{"loseOrRegainTrust", scenario_.loseTrust, &Simulation::loseOrRegainTrust},
      Happening{"pauseOrResume", scenario_.pause, &Simulation::pauseOrResume},
      Happening{"jumpClock", scenario_.jumpClock, &Simulation::jumpClock},
      Happening{"dropSocket", scenario_.dropSocket, &Simulation::dropSocket},
      Happening{"unpair", scenario_.unpair, &Simulation::unpair},
      Happening{"restart", scenario_.restart, &Simulation::restart},
      Happening{"suppress", scenario_.suppress, &Simulation::suppress},
      Happening{"refuseEvents", scenario_.refuseEvents, &Simulation::refuseEvents},
  };
  double total = 0;
  for (const Happening& happening : happenings)
    total += happening.weight;
  double choice = random_.between(0, total);
  for (const Happening& happening : happenings) {
    choice -= happening.weight;
    if (choice >= 0) continue;
    checker_.tell(happening.name);
    return (this->*happening.act)();
  }
}

void Simulation::loseOrRegainTrust() {
  const bool isTrusted = random_.chance(0.6);
  world_.desktop.setTrusted(isTrusted);
  checker_.noteTrust(isTrusted);
}

void Simulation::pauseOrResume() {
  static constexpr std::array options = {NotificationPauseOption::twoHours, NotificationPauseOption::fourHours,
                                         NotificationPauseOption::untilTomorrow, NotificationPauseOption::indefinitely};
  const bool isPause = random_.chance(0.4);
  const NotificationPauseOption option = options[random_.pick(options.size())];
  onMain([this, isPause, option] {
    if (isPause) {
      agent_->pauseNotifications(option);
    } else {
      agent_->resumeNotifications();
    }
    checker_.notePaused(isPause);
  });
}

void Simulation::jumpClock() {
  const double jump = random_.chance(0.5) ? random_.between(-120, 120) : random_.between(-172800, 172800);
  world_.time.setWallClock(world_.now() + std::chrono::duration_cast<Date::duration>(Seconds(jump)));
  checker_.notePauseUncertain();
}

void Simulation::unpair() {
  onMain([this] { agent_->unpairPhoneFromStatusWindow(); });
}

void Simulation::restart() {
  const bool isInOrder = random_.chance(0.5);
  onMain([this, isInOrder] {
    if (isInOrder) agent_->applicationWillTerminate();
    agent_.reset();
    scanQueue_.startAnew();
    checker_.noteProcessEnded();
  });
  launch();
}

void Simulation::refuseEvents() {
  world_.desktop.failEventCreation(random_.chance(0.5));
}

void Simulation::drainDecisions() {
  constexpr Seconds longestDecision{60};
  constexpr int mostDecisions = 60;
  for (int round = 0; round < mostDecisions; ++round) {
    if (world_.time.advanceUntil([this] { return !checker_.isWaitingForAnswers(); }, longestDecision)) return;
  }
}

void Simulation::comeToRest() {
  isCalm_ = true;
  next_.reset();
  relay_.heal();
  screen_.heal();
  world_.desktop.failEventCreation(false);
  world_.desktop.setTrusted(true);
  checker_.noteTrust(true);
  onMain([this] {
    agent_->resumeNotifications();
    checker_.notePaused(false);
  });
  // Frames that are still under way arrive, and what they ask for is carried out.
  world_.time.advance(Seconds(20));
  drainDecisions();
  checker_.everyRequestIsAnswered();
  world_.time.advance(graceAndSweep);
  if (!relay_.isConnected()) checker_.fail("the agent did not come back to the relay");
  checker_.phoneAgreesWithScreen(relay_.shown(), mutedTexts());
  if (world_.interface.shownCount() != static_cast<std::int64_t>(relay_.shown().size()))
    checker_.fail("the count beside the icon is another than the phone's");
}

std::set<DialogText> Simulation::mutedTexts() const {
  std::set<DialogText> muted;
  const auto& values = world_.defaults.values();
  const auto stored = values.find("tallyfox.suppressed-approval-ids");
  if (stored == values.end()) return muted;
  const auto& ids = std::get<std::vector<std::string>>(stored->second);
  for (const SimulatedDialog* dialog : screen_.live()) {
    const DialogText& text = dialog->text;
    const Uuid id =
        DialogIdentity::suppressionID(screen_.name(dialog->application), text.title, text.lines, text.labels);
    if (std::ranges::find(ids, id.text()) != ids.end()) muted.insert(text);
  }
  return muted;
}

void Simulation::end() {
  onMain([this] { agent_->applicationWillTerminate(); });
  world_.time.runDue();
  if (checker_.failures().empty() && world_.time.pendingTaskCount() != 0)
    checker_.fail("something still runs after the end");
  onMain([this] { agent_.reset(); });
  world_.time.runDue();
}

void Simulation::live(Seconds duration) {
  const Seconds end = world_.time.clock().continuous() + duration;
  while (world_.time.clock().continuous() < end && checker_.failures().empty()) {
    world_.time.advance(Seconds(3600));
    screen_.forgetClosed();
    checker_.forget();
    world_.forget();
  }
}

void Simulation::kill() {
  next_.reset();
  onMain([this] { agent_.reset(); });
  world_.time.runDue();
}

Outcome Simulation::run() {
  const Seconds start = world_.time.clock().continuous();
  while (happened_ < scenario_.happenings && checker_.failures().empty())
    world_.time.advance(Seconds(1));
  return finish(start);
}

Outcome Simulation::run(Seconds lifetime) {
  const Seconds start = world_.time.clock().continuous();
  live(lifetime);
  return finish(start);
}

Outcome Simulation::finish(Seconds start) {
  if (checker_.failures().empty()) comeToRest();
  end();
  return {.failures = checker_.failures(),
          .simulated = world_.time.clock().continuous() - start,
          .dialogs = screen_.openedCount(),
          .touches = checker_.touches(),
          .answers = checker_.answers(),
          .accepted = checker_.accepted()};
}

}  // namespace tallyfox::sim
