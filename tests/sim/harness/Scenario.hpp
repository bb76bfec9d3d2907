#pragma once

#include <cstdint>

#include "sim/harness/Random.hpp"

namespace tallyfox::sim {

/// What may go wrong in one run, and how often. Every fault is off in about half of the runs, so that each is also met
/// without the others; in some runs nothing goes wrong.
struct Scenario {
  static Scenario of(Random& random);
  /// The same faults at the pace of days that go by.
  [[nodiscard]] Scenario ofDays() const;

  // Chances at each message of the agent to an application.
  double messageTimesOut = 0;
  double screenChanges = 0;

  // Weights among the things that happen next.
  double misbehave = 0;     ///< an application hangs, lies or is deaf for a while
  double change = 0;        ///< a dialog's text, label or state changes in place
  double replace = 0;       ///< a look-alike takes a dialog's place
  double cover = 0;         ///< another window covers a dialog
  double loseTrust = 0;     ///< the permission is withdrawn for a while
  double pause = 0;         ///< the owner pauses or resumes alerts
  double jumpClock = 0;     ///< the wall clock is set
  double dropSocket = 0;    ///< the relay goes away
  double unpair = 0;        ///< the owner ends the pairing
  double restart = 0;       ///< the process ends, in order or not, and starts again
  double suppress = 0;      ///< a phone mutes or unmutes a dialog
  double refuseEvents = 0;  ///< the system makes no synthetic events for a while

  // Chances at each frame, in either direction.
  double frameIsLate = 0;
  double frameRepeats = 0;
  double keyIsWrong = 0;

  double registrationFails = 0;  ///< chance at each request
  double keychainFails = 0;      ///< chance at each start

  double shortestPause = 0.2;  ///< seconds between two things that happen
  double longestPause = 4;
  int happenings = 60;
};

}  // namespace tallyfox::sim
