#include "platform/memory/VirtualTime.hpp"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <limits>
#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace tallyfox::memory {

namespace {

/// Whole nanoseconds since the clock was made: sums of periods stay exact.
using Moment = std::chrono::nanoseconds;

constexpr Date wallClockStart = std::chrono::sys_days{std::chrono::January / 1 / 2026};
/// Longer waits never end: no test runs for a century.
constexpr Seconds neverAfter{100.0 * 365 * 86400};
/// Keeps a timer without a positive period from stopping the clock.
constexpr Moment shortestPeriod = std::chrono::milliseconds{1};

std::optional<Moment> momentsIn(Seconds duration) {
  if (!(duration > Seconds::zero())) return Moment::zero();
  if (duration > neverAfter) return std::nullopt;
  return Moment{std::llround(duration.count() * 1e9)};
}

}  // namespace

struct VirtualTime::State : public Clock, public std::enable_shared_from_this<VirtualTime::State> {
  /// What a queue is to the clock; outlives the queue while one of its tasks runs.
  struct Lane {
    bool isBusy = false;
  };

  struct Job {
    std::shared_ptr<Lane> lane;
    Task once;
    std::function<void()> repeated;
    Moment period{};
    Moment due{};
    std::uint64_t sequence = 0;
    bool isCancelled = false;
  };

  using Key = std::pair<Moment, std::uint64_t>;

  [[nodiscard]] Date now() const override {
    return wallClockOrigin + std::chrono::floor<std::chrono::microseconds>(moment);
  }
  [[nodiscard]] Seconds continuous() const override { return moment; }
  void sleep(Seconds duration) override { advance(duration); }

  void schedule(const std::shared_ptr<Job>& job, Moment due) {
    if (isClosed) return;
    job->due = due;
    job->sequence = nextSequence++;
    jobs.emplace(Key{job->due, job->sequence}, job);
  }

  void cancel(const std::shared_ptr<Job>& job) {
    job->isCancelled = true;
    jobs.erase(Key{job->due, job->sequence});
  }

  /// What dropped tasks hold may call back into this state while it goes, so it goes last.
  void drop(const std::shared_ptr<Lane>& lane) {
    std::vector<std::shared_ptr<Job>> dropped;
    for (auto entry = jobs.begin(); entry != jobs.end();) {
      if (entry->second->lane == lane) {
        dropped.push_back(std::move(entry->second));
        entry = jobs.erase(entry);
      } else {
        ++entry;
      }
    }
  }

  void close() {
    isClosed = true;
    const auto dropped = std::exchange(jobs, {});
  }

  void advance(Seconds duration) {
    const std::optional<Moment> length = momentsIn(duration);
    const Moment target = moment + length.value_or(std::chrono::duration_cast<Moment>(neverAfter));
    while (runNext(target)) {
    }
    moment = std::max(moment, target);
  }

  /// Runs the first task due up to `limit` whose queue is free; false when there is none.
  bool runNext(Moment limit) {
    const auto next = std::ranges::find_if(jobs, [](const auto& entry) { return !entry.second->lane->isBusy; });
    if (next == jobs.end() || next->first.first > limit) return false;
    const std::shared_ptr<Job> job = std::move(next->second);
    jobs.erase(next);
    moment = std::max(moment, job->due);
    run(*job);
    if (job->repeated && !job->isCancelled) schedule(job, nextTick(*job));
    return true;
  }

  void run(Job& job) {
    struct Turn {
      Turn(State& of, std::shared_ptr<Lane> with) : state(of), lane(std::move(with)), outer(state.current) {
        lane->isBusy = true;
        state.current = lane.get();
      }
      ~Turn() {
        state.current = outer;
        lane->isBusy = false;
      }
      State& state;
      std::shared_ptr<Lane> lane;
      Lane* outer;
    };
    const Turn turn(*this, job.lane);
    if (job.repeated) return job.repeated();
    Task task = std::move(job.once);
    task();
  }

  /// Ticks missed while the queue was busy are left out, as a timer of a run loop does.
  [[nodiscard]] Moment nextTick(const Job& job) const {
    const auto missed = std::max<Moment::rep>((moment - job.due) / job.period, 0);
    return job.due + job.period * (missed + 1);
  }

  std::map<Key, std::shared_ptr<Job>> jobs;
  std::uint64_t nextSequence = 1;  // 0 marks a job that was never scheduled
  Moment moment{};
  Date wallClockOrigin = wallClockStart;
  Lane* current = nullptr;
  bool isClosed = false;
};

namespace {

template <typename State>
class VirtualHandle : public Scheduled {
 public:
  VirtualHandle(std::shared_ptr<State> state, std::shared_ptr<typename State::Job> job)
      : state_(std::move(state)), job_(std::move(job)) {}
  ~VirtualHandle() override { state_->cancel(job_); }

 private:
  std::shared_ptr<State> state_;
  std::shared_ptr<typename State::Job> job_;
};

template <typename State>
class VirtualQueue : public SerialQueue {
 public:
  explicit VirtualQueue(std::shared_ptr<State> state) : state_(std::move(state)) {}
  ~VirtualQueue() override { state_->drop(lane_); }

  void post(Task task) override { state_->schedule(job(std::move(task)), state_->moment); }

  ScheduledHandle after(Seconds delay, Task task) override {
    auto scheduled = job(std::move(task));
    if (const auto length = momentsIn(delay)) state_->schedule(scheduled, state_->moment + *length);
    return std::make_unique<VirtualHandle<State>>(state_, std::move(scheduled));
  }

  ScheduledHandle every(Seconds period, std::function<void()> task) override {
    auto scheduled = job({});
    scheduled->repeated = std::move(task);
    if (const auto length = momentsIn(period)) {
      scheduled->period = std::max(*length, shortestPeriod);
      state_->schedule(scheduled, state_->moment + scheduled->period);
    }
    return std::make_unique<VirtualHandle<State>>(state_, std::move(scheduled));
  }

  [[nodiscard]] bool isCurrent() const override { return state_->current == lane_.get(); }

 private:
  [[nodiscard]] std::shared_ptr<typename State::Job> job(Task task) const {
    auto made = std::make_shared<typename State::Job>();
    made->lane = lane_;
    made->once = std::move(task);
    return made;
  }

  std::shared_ptr<State> state_;
  std::shared_ptr<typename State::Lane> lane_ = std::make_shared<typename State::Lane>();
};

}  // namespace

VirtualTime::VirtualTime() : state_(std::make_shared<State>()) {}

// Queues may outlive the clock, and tasks hold queues: dropping the tasks here ends that circle.
VirtualTime::~VirtualTime() {
  state_->close();
}

std::shared_ptr<SerialQueue> VirtualTime::makeQueue(const std::string&) {
  return std::make_shared<VirtualQueue<State>>(state_);
}

Clock& VirtualTime::clock() {
  return *state_;
}

void VirtualTime::runDue() {
  while (state_->runNext(state_->moment)) {
  }
}

void VirtualTime::advance(Seconds duration) {
  state_->advance(duration);
}

bool VirtualTime::advanceUntil(const std::function<bool()>& condition, Seconds limit) {
  const Moment deadline = state_->moment + momentsIn(limit).value_or(std::chrono::duration_cast<Moment>(neverAfter));
  while (!condition()) {
    if (state_->runNext(deadline)) continue;
    state_->moment = std::max(state_->moment, deadline);
    return condition();
  }
  return true;
}

void VirtualTime::setWallClock(Date date) {
  state_->wallClockOrigin = date - std::chrono::floor<std::chrono::microseconds>(state_->moment);
}

std::size_t VirtualTime::pendingTaskCount() const {
  return state_->jobs.size();
}

}  // namespace tallyfox::memory
