#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/linux/AtspiReference.hpp"
#include "platform/linux/FileDescriptorWatcher.hpp"
#include "platform/linux/SdBus.hpp"
#include "platform/linux/SessionStatus.hpp"
#include "platform/linux/SubscriberList.hpp"

namespace tallyfox::linux_os {

enum class AtspiChangeKind {
  programRegistered,  ///< it can be read from now on
  programAnswered,    ///< after having been silent
  windowsChanged,     ///< of a browser
  focusMoved,         ///< within a browser: its questions are no windows, but take the focus
};

struct AtspiChange {
  AtspiChangeKind kind = AtspiChangeKind::programRegistered;
  std::int32_t processIdentifier = 0;
  bool operator==(const AtspiChange&) const = default;
};

/// Tells what the X server cannot know: that a program has opened up to accessibility, and what happens inside the
/// windows of browsers. Nobody is told that we listen but browsers, one by one: a listener that is registered with all
/// makes each key press in other programs wait for the registry. Main thread only; nothing blocks but connecting.
class AtspiEventSource {
 public:
  /// The session bus is the user's when `sessionBusAddress` is empty. `watcher` outlives the source.
  AtspiEventSource(std::string sessionBusAddress, FileDescriptorWatcher& watcher);
  ~AtspiEventSource();
  AtspiEventSource(const AtspiEventSource&) = delete;
  AtspiEventSource& operator=(const AtspiEventSource&) = delete;

  /// Makes sure of the connection to the accessibility bus, which may come and go. Without it nothing is told.
  void connect();
  /// As a task of the main queue.
  [[nodiscard]] std::unique_ptr<Subscription> subscribe(std::function<void(const AtspiChange&)> onChange) {
    return subscribers_.add(std::move(onChange));
  }
  /// Tells once when this program, which let a question pass, answers again. Programs that are not known are left out.
  void awaitAnswer(const std::string& busName);
  /// The processes with an open tree. From any thread.
  [[nodiscard]] std::vector<std::int32_t> programs() const;

 private:
  struct Program;
  using Handler = void (AtspiEventSource::*)(Program& program, sd_bus_message* message);

  void onReadable();
  void disconnect();
  void onRegistration(sd_bus_message* signal);
  void onPresentPrograms(sd_bus_message* reply);
  void meet(const std::string& busName, bool isNew);
  void forget(const std::string& busName);
  void learnProcess(Program& program, sd_bus_message* reply);
  void learnToolkit(Program& program, sd_bus_message* reply);
  void listenTo(Program& program);
  void onWindows(Program& program, sd_bus_message* signal);
  void onFocus(Program& program, sd_bus_message* signal);
  void onAnswer(Program& program, sd_bus_message* reply);
  void tell(const Program& program, AtspiChangeKind kind);

  /// The handler also gets errors.
  template <Handler handler>
  [[nodiscard]] SdBusSlotHandle ask(Program& program, sd_bus_message* call);
  template <Handler handler>
  void match(Program& program, const std::string& rule);

  SessionStatus status_;
  FileDescriptorWatcher& watcher_;
  SubscriberList<AtspiChange> subscribers_;
  SdBusHandle bus_;
  SdBusSlotHandle registrations_;
  SdBusSlotHandle presentPrograms_;
  std::unordered_map<std::string, std::unique_ptr<Program>> programs_;  ///< by bus name
  mutable std::mutex mutex_;                                            ///< guards processes_
  std::unordered_map<std::string, std::int32_t> processes_;             ///< of those programs, once learnt
  std::unique_ptr<Subscription> watch_;
};

}  // namespace tallyfox::linux_os
