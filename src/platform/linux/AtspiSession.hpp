#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/linux/AtspiBus.hpp"
#include "platform/linux/DialogShape.hpp"
#include "platform/linux/RegistryDirectory.hpp"
#include "platform/linux/SessionStatus.hpp"
#include "platform/linux/SignsOfLife.hpp"
#include "platform/linux/ToolkitDress.hpp"
#include "platform/linux/X11Desktop.hpp"

namespace tallyfox::linux_os {

class AtspiReading;

/// What one thread has of the accessibility world: its connections, what it knows of the programs there, and its open
/// read scopes. Used by that thread alone.
class AtspiSession {
 public:
  /// `desktop` may be missing (no X display): then no window has a place on the screen.
  /// `onSilence` is told the bus name of each program that let a question pass.
  AtspiSession(std::shared_ptr<X11Desktop> desktop, std::shared_ptr<const SignsOfLife> signs,
               std::function<void(const std::string&)> onSilence, std::string sessionBusAddress);
  ~AtspiSession();

  /// The accessibility bus, connected anew when it was lost. No pointer without one.
  [[nodiscard]] AtspiBus* bus();
  [[nodiscard]] SessionStatus& status() { return status_; }
  [[nodiscard]] X11Desktop* desktop() { return desktop_.get(); }

  /// To be called where a question from outside begins.
  void beginQuestion();
  /// Never any of this process.
  [[nodiscard]] std::vector<AtspiReference> rootsOf(std::int32_t processIdentifier);
  [[nodiscard]] std::int32_t processOf(const std::string& busName);
  void setTimeout(std::int32_t processIdentifier, std::chrono::microseconds timeout);
  void setSystemWideTimeout(std::chrono::microseconds timeout) { systemWideTimeout_ = timeout; }
  [[nodiscard]] std::optional<std::chrono::microseconds> systemWideTimeout() const { return systemWideTimeout_; }

  /// Absent until learnt.
  [[nodiscard]] std::optional<Toolkit> toolkitOf(const std::string& busName) const;
  void learnToolkit(const std::string& busName, Toolkit toolkit);

  /// What a search learnt of this dialog, lately or longer ago; no pointer without one.
  [[nodiscard]] const DialogShape* shapeOf(const AtspiReference& dialog) const;
  [[nodiscard]] static bool isFresh(const DialogShape& shape);
  /// False once a search did not tell of all that the dialog shows.
  [[nodiscard]] bool isSearchable(const AtspiReference& dialog) const;
  /// Absent when the search failed.
  void learnShape(const AtspiReference& dialog, std::optional<DialogShape> shape);

  void openScope(AtspiReading& scope);
  void closeScope(AtspiReading& scope);
  /// The innermost reading that may still be used; no pointer without one.
  [[nodiscard]] AtspiReading* scope();
  /// Ends what all scopes remember: something was changed.
  void endReadings();

 private:
  struct OpenScope {
    AtspiReading* reading = nullptr;
    bool isEnded = false;
  };

  std::shared_ptr<X11Desktop> desktop_;
  std::shared_ptr<const SignsOfLife> signs_;
  std::uint64_t signsSeen_ = 0;
  std::function<void(const std::string&)> onSilence_;
  SessionStatus status_;
  std::unique_ptr<AtspiBus> bus_;
  RegistryDirectory directory_;
  std::unordered_map<std::string, Toolkit> toolkits_;
  std::unordered_map<AtspiReference, std::optional<DialogShape>> shapes_;
  std::unordered_map<std::int32_t, std::chrono::microseconds> timeouts_;
  std::optional<std::chrono::microseconds> systemWideTimeout_;
  std::vector<OpenScope> scopes_;
};

}  // namespace tallyfox::linux_os
