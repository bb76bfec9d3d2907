#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "desktop/DesktopSession.hpp"

namespace tallyfox::testing {

enum class DialogToolkit { gtk3, gtk4, qt };
[[nodiscard]] std::string_view name(DialogToolkit toolkit);
/// Those whose programs were built.
[[nodiscard]] std::vector<DialogToolkit> dialogToolkits();

/// A running program of programs/, whose dialogs say what hits them. What it understands is told in
/// programs/dialog_program.py.
class DialogProgram {
 public:
  static constexpr const char* title = "Careful";
  static constexpr const char* text = "Are you sure that you want to erase the disk?";
  /// The exit status of a program whose last dialog was closed by the button at that place, from the left.
  [[nodiscard]] static int closedBy(int place) { return 10 + place; }

  /// `words` are its buttons and options.
  DialogProgram(const DesktopSession& session, DialogToolkit toolkit, const std::vector<std::string>& words);

  [[nodiscard]] DesktopProcess& process() { return *process_; }
  [[nodiscard]] pid_t pid() const { return process_->pid(); }
  /// What hit its dialogs so far, in order.
  [[nodiscard]] std::vector<std::string> hits();
  /// Carries out a command; returns when it is done. Throws std::runtime_error when it is not.
  void tell(const std::string& command);

 private:
  struct Closed {
    Closed() = default;
    ~Closed();
    Closed(const Closed&) = delete;
    Closed& operator=(const Closed&) = delete;
    int descriptor = -1;
  };
  void readOutput();

  Closed commands_;
  Closed output_;
  std::unique_ptr<DesktopProcess> process_;
  std::string unread_;
  std::vector<std::string> hits_;
  int done_ = 0;
};

}  // namespace tallyfox::testing
