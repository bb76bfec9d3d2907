#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "app/AgentWorld.hpp"
#include "app/AppDelegate.hpp"
#include "sim/harness/Checker.hpp"
#include "sim/harness/Random.hpp"
#include "sim/harness/Relay.hpp"
#include "sim/harness/Scenario.hpp"
#include "sim/harness/Screen.hpp"

namespace tallyfox::sim {

/// Runs the tasks of another queue and counts those that wait or run.
class CountingQueue : public SerialQueue {
 public:
  CountingQueue(SerialQueue& queue, std::function<void(int waiting)> onPost)
      : queue_(queue), onPost_(std::move(onPost)) {}
  void post(Task task) override;
  /// What was posted so far belongs to a process that is gone.
  void startAnew() { waiting_ = std::make_shared<int>(0); }
  ScheduledHandle after(Seconds delay, Task task) override { return queue_.after(delay, std::move(task)); }
  ScheduledHandle every(Seconds period, std::function<void()> task) override {
    return queue_.every(period, std::move(task));
  }
  [[nodiscard]] bool isCurrent() const override { return queue_.isCurrent(); }

 private:
  SerialQueue& queue_;
  std::function<void(int waiting)> onPost_;
  std::shared_ptr<int> waiting_ = std::make_shared<int>(0);
};

/// What one run came to.
struct Outcome {
  std::vector<std::string> failures;  ///< promises that were broken
  Seconds simulated{};
  std::size_t dialogs = 0;
  std::size_t touches = 0;
  std::size_t answers = 0;
  std::size_t accepted = 0;
};

/// The whole agent in a world that one seed moves: applications, the owner, the relay, the phones and the machine. What
/// happens, happens on a queue of its own and so also while the agent waits for something; a run repeats exactly.
class Simulation {
 public:
  explicit Simulation(std::uint64_t seed);
  /// What goes wrong is as given, not drawn from the seed.
  Simulation(std::uint64_t seed, const Scenario& scenario);
  ~Simulation();
  Simulation(const Simulation&) = delete;
  Simulation& operator=(const Simulation&) = delete;

  /// Things go wrong for a while, then nothing does, and at last everything ends.
  Outcome run();
  /// As run(), but things go wrong for so long, and the world keeps no record of what is over.
  Outcome run(Seconds lifetime);
  /// Things go on going wrong for this long.
  void live(Seconds duration);
  /// Ends the process as the system does, without warning, and starts no other.
  void kill();
  [[nodiscard]] std::size_t pendingTaskCount() const { return world_.time.pendingTaskCount(); }
  [[nodiscard]] const std::vector<std::string>& failures() const { return checker_.failures(); }
  /// Hears what happens, one sentence each.
  void listen(std::function<void(const std::string&)> listener) { checker_.listen(std::move(listener)); }

 private:
  struct Happening {
    const char* name;
    double weight;
    void (Simulation::*act)();
  };

  void scheduleNext();
  void happen();
  void comeToRest();
  void drainDecisions();
  Outcome finish(Seconds start);
  void end();
  [[nodiscard]] std::set<DialogText> mutedTexts() const;

  void open() { screen_.open(); }
  void close() { screen_.close(); }
  void change() { screen_.change(); }
  void replace() { screen_.replaceByLookAlike(); }
  void cover() { screen_.cover(); }
  void misbehave() { screen_.misbehave(); }
  void healScreen() { screen_.heal(); }
  void request() { relay_.request(); }
  void suppress() { relay_.suppressOrUnsuppress(); }
  void dropSocket() { relay_.dropSocket(); }
  void loseOrRegainTrust();
  void pauseOrResume();
  void jumpClock();
  void unpair();
  void restart();
  void refuseEvents();

  void onMain(std::function<void()> work);
  void launch();
  [[nodiscard]] std::optional<AXError> answerMessage();

  Simulation(Random random, const Scenario& scenario);

  Random random_;
  Scenario scenario_;
  AgentWorld world_;
  std::shared_ptr<SerialQueue> director_ = world_.time.makeQueue("director");
  Screen screen_;
  Checker checker_;
  Relay relay_;
  CountingQueue scanQueue_;
  std::unique_ptr<AppDelegate> agent_;
  ScheduledHandle next_;
  int happened_ = 0;
  bool isCalm_ = false;
};

}  // namespace tallyfox::sim
