// The whole interface on a real desktop, with an agent that only says what it is asked:
//   tallyfox-window-stage STATE
// Commands, a line each on standard input: show, close, state NAME, count N, quit. Answers on standard output: "painted
// MILLISECONDS" once the first window has been painted, counted from the application's start; "closed"; and each action
// by its name.

#include <unistd.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QTimer>
#include <cstdio>
#include <iostream>
#include <string>

#include "platform/linux/window/QtInterface.hpp"
#include "platform/linux/window/QtMainLoop.hpp"
#include "window/GalleryStates.hpp"

namespace tallyfox::linux_os {
namespace {

void say(const std::string& line) {
  std::cout << line << std::endl;
}

/// Tells when the first window has been painted.
class FirstPaint : public QObject {
 public:
  FirstPaint() {
    elapsed_.start();
    qApp->installEventFilter(this);
  }

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override {
    const bool isFirst = event->type() == QEvent::Paint && dynamic_cast<PairingCard*>(watched) != nullptr;
    if (isFirst) {
      qApp->removeEventFilter(this);
      QTimer::singleShot(0, this, [this] { say("painted " + std::to_string(elapsed_.elapsed())); });
    }
    return QObject::eventFilter(watched, event);
  }

 private:
  QElapsedTimer elapsed_;
};

class Stage {
 public:
  Stage(gallery::State state, QtMainLoop& mainLoop) : state_(std::move(state)), mainLoop_(mainLoop) {}

  void obey(const std::string& command) {
    const auto argument = [&](const std::string& name) { return command.substr(name.size() + 1); };
    if (command == "show") {
      interface_.showStatusWindow();
    } else if (command == "close") {
      if (StatusWindow* window = interface_.statusWindow().window()) window->close();
      mainLoop_.post([] { say("closed"); });
    } else if (command.starts_with("state ")) {
      state_ = gallery::stateNamed(argument("state")).value_or(state_);
      interface_.refreshStatusWindow();
    } else if (command.starts_with("count ")) {
      interface_.showPendingCount(std::stoi(argument("count")));
    } else if (command == "quit") {
      mainLoop_.quit();
    }
  }

  void start() { interface_.configureMenus(); }

 private:
  [[nodiscard]] InterfaceActions actions() {
    return {.snapshot = [this] { return state_.snapshot; },
            .context = [this] { return state_.context; },
            .onEnableLoginItem = [] { say("enableLoginItem"); },
            .onUnpairPhone = [] { say("unpairPhone"); },
            .onCheckForUpdates = [] { say("checkForUpdates"); },
            .onPauseNotifications =
                [](NotificationPauseOption option) { say("pause " + std::to_string(static_cast<int>(option))); },
            .onResumeNotifications = [] { say("resume"); },
            .openAccessibilitySettings = [] { say("openAccessibilitySettings"); },
            .quit = [this] { mainLoop_.quit(); }};
  }

  gallery::State state_;
  QtMainLoop& mainLoop_;
  QtInterface interface_{{.version = "0.0.0", .sessionBusAddress = "", .translations = ""}, actions(), mainLoop_};
};

int run(int argc, char** argv) {
  const QApplication application(argc, argv);
  const FirstPaint firstPaint;
  const auto state = gallery::stateNamed(argc == 2 ? argv[1] : "");
  if (!state) return 2;
  QtMainLoop mainLoop;
  Stage stage(*state, mainLoop);
  stage.start();
  const auto input = mainLoop.watchReadable(STDIN_FILENO, [&] {
    std::string line;
    if (!std::getline(std::cin, line)) return mainLoop.quit();
    stage.obey(line);
  });
  mainLoop.run();
  return 0;
}

}  // namespace
}  // namespace tallyfox::linux_os

int main(int argc, char** argv) {
  // A line at a time: what is read ahead would not wake the event loop again.
  std::setvbuf(stdin, nullptr, _IONBF, 0);
  return tallyfox::linux_os::run(argc, argv);
}
