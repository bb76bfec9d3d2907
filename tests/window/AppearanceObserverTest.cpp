// Light and dark follow the settings portal where it has an opinion, else the system's palette, live, and each change
// is told once.

#include "platform/linux/window/AppearanceObserver.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QTest>
#include <atomic>
#include <cstdint>

#include "platform/PrivateBus.hpp"
#include "window/WindowFixture.hpp"

namespace tallyfox::linux_os {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* noBus = "unix:path=/nonexistent/bus";
constexpr const char* portalName = "org.freedesktop.portal.Desktop";
constexpr const char* portalPath = "/org/freedesktop/portal/desktop";
constexpr const char* settings = "org.freedesktop.portal.Settings";
constexpr std::uint32_t noPreference = 0;
constexpr std::uint32_t preferDark = 1;
constexpr std::uint32_t preferLight = 2;

QPalette systemPalette(bool isDark) {
  return isDark ? QPalette(QColor(40, 40, 40), QColor(20, 20, 20)) : QPalette(QColor(230, 230, 230), Qt::white);
}

/// A portal that tells the colour scheme, wrapped twice as real ones do, and announces another one when told to by a
/// call of the test's own.
class SettingsPortal {
 public:
  SettingsPortal(const PrivateBus& bus, std::uint32_t scheme)
      : scheme_(scheme),
        caller_(bus.connect()),
        program_(bus, portalName, portalPath, [this](sd_bus_message* call) { return answer(call); }) {}

  void announce(std::uint32_t scheme) {
    scheme_ = scheme;
    sd_bus_call_method(caller_.get(), portalName, portalPath, settings, "Announce", nullptr, nullptr, "");
  }

 private:
  int answer(sd_bus_message* call) {
    if (sd_bus_message_is_method_call(call, settings, "Read") > 0)
      return sd_bus_reply_method_return(call, "v", "v", "u", scheme_.load());
    if (sd_bus_message_is_method_call(call, settings, "Announce") <= 0) return 0;
    sd_bus* bus = sd_bus_message_get_bus(call);
    sd_bus_emit_signal(bus, portalPath, settings, "SettingChanged", "ssv", "org.gnome.desktop.interface",
                       "color-scheme", "u", preferDark);
    sd_bus_emit_signal(bus, portalPath, settings, "SettingChanged", "ssv", "org.freedesktop.appearance", "color-scheme",
                       "u", scheme_.load());
    return sd_bus_reply_method_return(call, "");
  }

  std::atomic<std::uint32_t> scheme_;
  SdBusHandle caller_;
  BusProgram program_;
};

class AppearanceObserverTest : public testing::Test {
 protected:
  [[nodiscard]] std::function<void(Appearance)> record() {
    return [this](Appearance appearance) { told.push_back(appearance); };
  }
  std::vector<Appearance> told;
};

TEST_F(AppearanceObserverTest, goesByTheSystemsPaletteWithoutAPortal) {
  for (const bool isDark : {false, true}) {
    const PaletteScope palette(systemPalette(isDark));
    const AppearanceObserver observer(noBus, record());
    EXPECT_EQ(observer.appearance(), isDark ? Appearance::dark : Appearance::light);
  }
  settle();
  EXPECT_THAT(told, IsEmpty());
}

TEST_F(AppearanceObserverTest, tellsEachChangeOfTheSystemsPaletteOnce) {
  const PaletteScope palette(systemPalette(false));
  const AppearanceObserver observer(noBus, record());
  QApplication::setPalette(systemPalette(true));
  settle();
  QPalette darker = systemPalette(true);
  darker.setColor(QPalette::Window, Qt::black);
  QApplication::setPalette(darker);
  settle();
  QApplication::setPalette(systemPalette(false));
  settle();
  EXPECT_THAT(told, ElementsAre(Appearance::dark, Appearance::light));
  EXPECT_EQ(observer.appearance(), Appearance::light);
}

TEST_F(AppearanceObserverTest, asksTheRunningPortalBeforeTheFirstWindow) {
  const PaletteScope palette(systemPalette(false));
  const PrivateBus bus;
  const SettingsPortal portal(bus, preferDark);
  const AppearanceObserver observer(bus.address(), record());
  EXPECT_EQ(observer.appearance(), Appearance::dark);
  EXPECT_THAT(told, IsEmpty());
}

TEST_F(AppearanceObserverTest, followsThePortalLiveAndThePaletteWhereItHasNoOpinion) {
  const PaletteScope palette(systemPalette(false));
  const PrivateBus bus;
  SettingsPortal portal(bus, preferDark);
  const AppearanceObserver observer(bus.address(), record());
  portal.announce(preferLight);
  EXPECT_TRUE(QTest::qWaitFor([&] { return observer.appearance() == Appearance::light; }));
  portal.announce(preferDark);
  EXPECT_TRUE(QTest::qWaitFor([&] { return observer.appearance() == Appearance::dark; }));
  portal.announce(noPreference);
  EXPECT_TRUE(QTest::qWaitFor([&] { return observer.appearance() == Appearance::light; }));
  EXPECT_THAT(told, ElementsAre(Appearance::light, Appearance::dark, Appearance::light));
}

TEST_F(AppearanceObserverTest, prefersThePortalToThePalette) {
  const PaletteScope palette(systemPalette(false));
  const PrivateBus bus;
  const SettingsPortal portal(bus, preferLight);
  const AppearanceObserver observer(bus.address(), record());
  QApplication::setPalette(systemPalette(true));
  settle();
  EXPECT_EQ(observer.appearance(), Appearance::light);
  EXPECT_THAT(told, IsEmpty());
}

TEST_F(AppearanceObserverTest, doesNotWaitLongForAPortalThatHangs) {
  const PaletteScope palette(systemPalette(false));
  const PrivateBus bus;
  std::atomic<bool> mayAnswer = false;
  const BusProgram slow(bus, portalName, portalPath, [&](sd_bus_message* call) {
    while (!mayAnswer)
      std::this_thread::yield();
    return sd_bus_reply_method_return(call, "v", "v", "u", preferDark);
  });
  QElapsedTimer elapsed;
  elapsed.start();
  const AppearanceObserver observer(bus.address(), record());
  EXPECT_LT(elapsed.elapsed(), 1000);
  EXPECT_EQ(observer.appearance(), Appearance::light);
  mayAnswer = true;
  EXPECT_TRUE(QTest::qWaitFor([&] { return observer.appearance() == Appearance::dark; }));
  EXPECT_THAT(told, ElementsAre(Appearance::dark));
}

TEST_F(AppearanceObserverTest, takesNothingFromAnAnswerOfAnotherKind) {
  const PaletteScope palette(systemPalette(false));
  const PrivateBus bus;
  const BusProgram odd(bus, portalName, portalPath,
                       [](sd_bus_message* call) { return sd_bus_reply_method_return(call, "v", "s", "prefer-dark"); });
  const AppearanceObserver observer(bus.address(), record());
  settle();
  EXPECT_EQ(observer.appearance(), Appearance::light);
}

}  // namespace
}  // namespace tallyfox::linux_os
