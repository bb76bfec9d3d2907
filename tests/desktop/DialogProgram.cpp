#include "desktop/DialogProgram.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <stdexcept>
#include <utility>

namespace tallyfox::testing {
namespace {

/// The distribution's own, whatever else is installed: its packages bring the toolkits' bindings.
constexpr const char* debianPython = "/usr/bin/python3";

std::vector<std::string> programOf(DialogToolkit toolkit) {
  const std::string folder = TALLYFOX_SOURCE_DIR "/tests/desktop/programs/";
  switch (toolkit) {
    case DialogToolkit::gtk3:
      return {debianPython, "-B", folder + "gtk3_dialog.py"};
    case DialogToolkit::gtk4:
      return {debianPython, "-B", folder + "gtk4_dialog.py"};
    case DialogToolkit::qt:
#ifdef TALLYFOX_QT_DIALOG
      return {TALLYFOX_QT_DIALOG};
#else
      throw std::runtime_error("the Qt dialog was not built");
#endif
  }
  std::unreachable();
}

}  // namespace

std::string_view name(DialogToolkit toolkit) {
  switch (toolkit) {
    case DialogToolkit::gtk3:
      return "Gtk3";
    case DialogToolkit::gtk4:
      return "Gtk4";
    case DialogToolkit::qt:
      return "Qt";
  }
  std::unreachable();
}

std::vector<DialogToolkit> dialogToolkits() {
#ifdef TALLYFOX_QT_DIALOG
  return {DialogToolkit::gtk3, DialogToolkit::gtk4, DialogToolkit::qt};
#else
  return {DialogToolkit::gtk3, DialogToolkit::gtk4};
#endif
}

DialogProgram::Closed::~Closed() {
  if (descriptor >= 0) close(descriptor);
}

DialogProgram::DialogProgram(const DesktopSession& session, DialogToolkit toolkit,
                             const std::vector<std::string>& words) {
  std::vector<std::string> command = programOf(toolkit);
  command.insert(command.end(), {title, text});
  command.insert(command.end(), words.begin(), words.end());
  int input[2];
  int output[2];
  if (pipe2(input, O_CLOEXEC) != 0 || pipe2(output, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  commands_.descriptor = input[1];
  output_.descriptor = output[0];
  fcntl(output_.descriptor, F_SETFL, O_NONBLOCK);
  std::vector<std::string> environment = session.environment();
  environment.emplace_back("GSK_RENDERER=cairo");  // GTK 4 would start a renderer for 3D, in software
  process_ = std::make_unique<DesktopProcess>(command, environment, output[1], input[0]);
  close(input[0]);
  close(output[1]);
}

std::vector<std::string> DialogProgram::hits() {
  readOutput();
  return hits_;
}

void DialogProgram::tell(const std::string& command) {
  readOutput();
  const int before = done_;
  const std::string line = command + "\n";
  if (!process_->isRunning() || write(commands_.descriptor, line.data(), line.size()) != std::ssize(line))
    throw std::runtime_error("the program takes no commands");
  const bool isDone = DesktopSession::waitUntil([&] {
    readOutput();
    return done_ > before;
  });
  if (!isDone) throw std::runtime_error("the program did not do: " + command);
}

void DialogProgram::readOutput() {
  char buffer[4096];
  for (ssize_t count = 0; (count = read(output_.descriptor, buffer, sizeof(buffer))) > 0;)
    unread_.append(buffer, static_cast<std::size_t>(count));
  for (std::size_t end = 0; (end = unread_.find('\n')) != std::string::npos; unread_.erase(0, end + 1)) {
    std::string line = unread_.substr(0, end);
    if (line == "done")
      ++done_;
    else
      hits_.push_back(std::move(line));
  }
}

}  // namespace tallyfox::testing
