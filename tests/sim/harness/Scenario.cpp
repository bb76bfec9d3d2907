#include "sim/harness/Scenario.hpp"

namespace tallyfox::sim {
namespace {

/// Off in half of the runs.
double maybe(Random& random, double least, double most) {
  const double strength = random.between(least, most);
  return random.chance(0.5) ? strength : 0;
}

void setPace(Scenario& scenario, Random& random) {
  if (random.chance(0.2)) {
    scenario.shortestPause = 0.02;
    scenario.longestPause = 0.6;
  } else if (random.chance(0.15)) {
    scenario.shortestPause = 5;
    scenario.longestPause = 90;
  }
}

}  // namespace

Scenario Scenario::of(Random& random) {
  Scenario scenario;
  setPace(scenario, random);
  scenario.unpair = maybe(random, 0.05, 0.2);
  scenario.suppress = maybe(random, 0.3, 1);
  scenario.pause = maybe(random, 0.2, 0.8);
  if (random.chance(0.1)) return scenario;

  scenario.messageTimesOut = maybe(random, 0.0005, 0.02);
  scenario.screenChanges = maybe(random, 0.0005, 0.01);
  scenario.misbehave = maybe(random, 0.3, 2);
  scenario.change = maybe(random, 0.3, 2);
  scenario.replace = maybe(random, 0.3, 1.5);
  scenario.cover = maybe(random, 0.3, 1.5);
  scenario.loseTrust = maybe(random, 0.2, 0.8);
  scenario.jumpClock = maybe(random, 0.1, 0.6);
  scenario.dropSocket = maybe(random, 0.2, 1);
  scenario.restart = maybe(random, 0.1, 0.4);
  scenario.refuseEvents = maybe(random, 0.2, 0.5);
  scenario.frameIsLate = maybe(random, 0.02, 0.4);
  scenario.frameRepeats = maybe(random, 0.02, 0.3);
  scenario.keyIsWrong = maybe(random, 0.02, 0.2);
  scenario.registrationFails = maybe(random, 0.1, 0.6);
  scenario.keychainFails = maybe(random, 0.1, 0.5);
  return scenario;
}

Scenario Scenario::ofDays() const {
  Scenario slow = *this;
  slow.shortestPause = 20;
  slow.longestPause = 1200;
  slow.happenings = 1'000'000'000;
  return slow;
}

}  // namespace tallyfox::sim
