// Which time zone a Linux system is in: the variable first, then what the system's files name, else the present offset.

#include "platform/linux/SystemTimeZone.hpp"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <time.h>

#include "base/ZonedCalendar.hpp"
#include "platform/TemporaryFolder.hpp"

namespace tallyfox::linux_os {
namespace {

namespace fs = std::filesystem;

class SystemTimeZoneTest : public testing::Test {
 protected:
  SystemTimeZoneTest() {
    if (const char* present = ::getenv("TZ")) original_ = present;
  }
  ~SystemTimeZoneTest() override {
    original_ ? ::setenv("TZ", original_->c_str(), 1) : ::unsetenv("TZ");
    ::tzset();
  }
  /// With the C library's own view set alike.
  std::string identifier(const std::optional<std::string>& variable) {
    variable ? ::setenv("TZ", variable->c_str(), 1) : ::unsetenv("TZ");
    return systemTimeZoneIdentifier(variable, etc.path());
  }
  void linkLocaltime(const fs::path& target) {
    fs::remove(etc / "localtime");
    fs::create_symlink(target, etc / "localtime");
  }

  TemporaryFolder etc;

 private:
  std::optional<std::string> original_;
};

TEST_F(SystemTimeZoneTest, followsTheVariableInEveryForm) {
  linkLocaltime("/usr/share/zoneinfo/Asia/Tokyo");
  for (const std::string variable :
       {"Europe/Berlin", ":Europe/Berlin", "/usr/share/zoneinfo/Europe/Berlin", ":/usr/share/zoneinfo/Europe/Berlin",
        "posix/Europe/Berlin", "/usr/share/zoneinfo/right/Europe/Berlin"})
    EXPECT_EQ(identifier(variable), "Europe/Berlin") << variable;
}

TEST_F(SystemTimeZoneTest, givesThePresentOffsetOfAVariableThatIsARule) {
  linkLocaltime("/usr/share/zoneinfo/Asia/Tokyo");
  EXPECT_EQ(identifier("XYZ-5:30"), "GMT+05:30");
  EXPECT_EQ(identifier("GMT+5"), "GMT-05:00");
  EXPECT_EQ(identifier("<-0330>3:30"), "GMT-03:30");
  EXPECT_EQ(identifier(""), "GMT+00:00");
}

TEST_F(SystemTimeZoneTest, takesTheNameThatTheSystemsLinkBears) {
  linkLocaltime("/usr/share/zoneinfo/Europe/Berlin");
  EXPECT_EQ(identifier(std::nullopt), "Europe/Berlin");
  linkLocaltime("../usr/share/zoneinfo/America/Argentina/Buenos_Aires");
  EXPECT_EQ(identifier(std::nullopt), "America/Argentina/Buenos_Aires");
}

TEST_F(SystemTimeZoneTest, followsALinkToALink) {
  writeFile(etc / "zoneinfo/Europe/Berlin", "");
  fs::create_symlink(etc / "zoneinfo/Europe/Berlin", etc / "chosen");
  linkLocaltime(etc / "chosen");
  EXPECT_EQ(identifier(std::nullopt), "Europe/Berlin");
}

TEST_F(SystemTimeZoneTest, readsTheNameBesideACopiedFile) {
  writeFile(etc / "localtime", "TZif2");
  writeFile(etc / "timezone", "Asia/Kolkata\n");
  EXPECT_EQ(identifier(std::nullopt), "Asia/Kolkata");
}

TEST_F(SystemTimeZoneTest, givesThePresentOffsetWhereNothingIsNamed) {
  writeFile(etc / "timezone", "Europe/Atlantis\n");
  const std::string offset = identifier(std::nullopt);
  ASSERT_TRUE(offset.starts_with("GMT")) << offset;
  const time_t now = ::time(nullptr);
  tm local{};
  ::localtime_r(&now, &local);
  char hour[8];
  ::strftime(hour, sizeof hour, "%H:%M", &local);
  EXPECT_EQ(ZonedCalendar(offset).formatted(Date(std::chrono::seconds(now)), "HH:mm"), hour);
}

}  // namespace
}  // namespace tallyfox::linux_os
