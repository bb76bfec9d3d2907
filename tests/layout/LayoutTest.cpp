// The rooms keep to their include permits, form no circle, and leave the operating system, the clock, sleeping and the
// environment to the backends. Each rule is also shown to fail on a breach, so that a silent rule cannot pass for a
// kept one.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "layout/SourceTree.hpp"

namespace tallyfox::layout {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const std::vector<SourceFile>& product() {
  static const std::vector<SourceFile> files = readSources(TALLYFOX_SOURCE_DIR "/src");
  return files;
}

TEST(Layout, readsTheWholeTree) {
  EXPECT_GT(product().size(), 50U);
}
TEST(Layout, keepsTheIncludePermits) {
  EXPECT_THAT(brokenIncludePermits(product()), IsEmpty());
}
TEST(Layout, hasNoIncludeCircle) {
  EXPECT_THAT(includeCircles(product()), IsEmpty());
}
TEST(Layout, hasNoTwoRoomsThatIncludeEachOther) {
  EXPECT_THAT(roomCircles(product()), IsEmpty());
}
TEST(Layout, leavesSystemClockSleepAndEnvironmentToTheBackends) {
  EXPECT_THAT(platformLeaks(product()), IsEmpty());
}
TEST(Layout, readsAndWritesInNoProcessLocale) {
  EXPECT_THAT(localeLeaks(product()), IsEmpty());
}
TEST(Layout, keepsTheSeamSmallAndUnconditional) {
  EXPECT_THAT(brokenSeamRules(product()), IsEmpty());
}

TEST(LayoutRules, refuseAForbiddenRoom) {
  EXPECT_THAT(brokenIncludePermits({parsedSource("relay/A.cpp", "#include \"app/B.hpp\"\n")}),
              ElementsAre("relay/A.cpp: may not include app/B.hpp"));
  EXPECT_THAT(brokenIncludePermits({parsedSource("detection/A.cpp", "#include \"platform/linux/B.hpp\"\n")}),
              ElementsAre("detection/A.cpp: may not include platform/linux/B.hpp"));
  EXPECT_THAT(brokenIncludePermits({parsedSource("detection/A.cpp", "#include \"actions/B.hpp\"\n")}),
              ElementsAre("detection/A.cpp: may not include actions/B.hpp"));
  EXPECT_THAT(brokenIncludePermits({parsedSource("platform/linux/A.cpp", "#include \"app/B.hpp\"\n")}),
              ElementsAre("platform/linux/A.cpp: may not include app/B.hpp"));
  EXPECT_THAT(brokenIncludePermits({parsedSource("attic/A.cpp", "")}),
              ElementsAre("attic/A.cpp: lies in no known room"));
}

TEST(LayoutRules, refuseAToolkitOutsideABackend) {
  EXPECT_THAT(brokenIncludePermits({parsedSource("app/A.cpp", "#include <xcb/xcb.h>\n#include <vector>\n")}),
              ElementsAre("app/A.cpp: may not include <xcb/xcb.h>"));
  EXPECT_THAT(brokenIncludePermits({parsedSource("relay/A.cpp", "#include <openssl/evp.h>\n")}),
              ElementsAre("relay/A.cpp: may not include <openssl/evp.h>"));
  EXPECT_THAT(brokenIncludePermits({parsedSource("ui/A.cpp", "#include <qrcodegen/qrcodegen.hpp>\n")}),
              ElementsAre("ui/A.cpp: may not include <qrcodegen/qrcodegen.hpp>"));
  EXPECT_THAT(brokenIncludePermits({parsedSource("detection/A.cpp", "#include <immintrin.h>\n")}),
              ElementsAre("detection/A.cpp: may not include <immintrin.h>"));
}

TEST(LayoutRules, letABackendsMainSeeTheAgentButNoOtherBackend) {
  EXPECT_THAT(brokenIncludePermits({parsedSource("platform/linux/main.cpp", "#include \"app/B.hpp\"\n")}), IsEmpty());
  EXPECT_THAT(brokenIncludePermits({parsedSource("platform/linux/main.cpp", "#include \"platform/memory/B.hpp\"\n")}),
              ElementsAre("platform/linux/main.cpp: may not include platform/memory/B.hpp"));
}

TEST(LayoutRules, letTheWindowSeeTheAgentsInterfaceButNoOtherPartOfTheAgent) {
  const std::string window = "platform/linux/window/A.cpp";
  EXPECT_THAT(brokenIncludePermits({parsedSource(window,
                                                 "#include \"ui/B.hpp\"\n#include \"app/AgentInterface.hpp\"\n"
                                                 "#include \"app/AppDelegate.hpp\"\n#include <QWidget>\n"
                                                 "#include \"platform/linux/SdBus.hpp\"\n")}),
              IsEmpty());
  EXPECT_THAT(brokenIncludePermits({parsedSource(window, "#include \"app/ScanCycle.hpp\"\n")}),
              ElementsAre(window + ": may not include app/ScanCycle.hpp"));
  EXPECT_THAT(brokenIncludePermits({parsedSource(window, "#include \"detection/B.hpp\"\n")}),
              ElementsAre(window + ": may not include detection/B.hpp"));
}

TEST(LayoutRules, holdTheMacsBackendToTheSamePermits) {
  const std::string window = "platform/macos/window/A.mm";
  EXPECT_THAT(brokenIncludePermits({parsedSource(window,
                                                 "#import <AppKit/AppKit.h>\n#include \"ui/B.hpp\"\n"
                                                 "#include \"app/AgentInterface.hpp\"\n"
                                                 "#include \"platform/macos/CFRef.hpp\"\n")}),
              IsEmpty());
  EXPECT_THAT(brokenIncludePermits({parsedSource(window, "#include \"app/ScanCycle.hpp\"\n")}),
              ElementsAre(window + ": may not include app/ScanCycle.hpp"));
  const std::string all =
      "#include \"app/B.hpp\"\n#include \"ui/B.hpp\"\n#include \"platform/macos/window/B.hpp\"\n"
      "#include \"platform/posix/B.hpp\"\n";
  EXPECT_THAT(brokenIncludePermits({parsedSource("platform/macos/main.mm", all)}), IsEmpty());
  EXPECT_THAT(
      brokenIncludePermits({parsedSource("platform/macos/A.mm", all)}),
      ElementsAre("platform/macos/A.mm: may not include app/B.hpp", "platform/macos/A.mm: may not include ui/B.hpp",
                  "platform/macos/A.mm: may not include platform/macos/window/B.hpp"));
  EXPECT_THAT(brokenIncludePermits({parsedSource("platform/macos/main.mm", "#include \"platform/linux/B.hpp\"\n")}),
              ElementsAre("platform/macos/main.mm: may not include platform/linux/B.hpp"));
  EXPECT_THAT(brokenIncludePermits({parsedSource("base/A.cpp", "#include <CoreFoundation/CoreFoundation.h>\n")}),
              ElementsAre("base/A.cpp: may not include <CoreFoundation/CoreFoundation.h>"));
}

TEST(LayoutRules, letNothingInABackendButItsMainSeeTheWindow) {
  const std::string include = "#include \"platform/linux/window/B.hpp\"\n";
  EXPECT_THAT(brokenIncludePermits({parsedSource("platform/linux/main.cpp", include)}), IsEmpty());
  EXPECT_THAT(brokenIncludePermits({parsedSource("platform/linux/A.cpp", include)}),
              ElementsAre("platform/linux/A.cpp: may not include platform/linux/window/B.hpp"));
  EXPECT_THAT(brokenIncludePermits({parsedSource("platform/memory/main.cpp", include)}),
              ElementsAre("platform/memory/main.cpp: may not include platform/linux/window/B.hpp"));
  EXPECT_THAT(roomCircles({parsedSource("platform/linux/main.cpp", include),
                           parsedSource("platform/linux/window/B.hpp", "#include \"platform/linux/A.hpp\"\n")}),
              IsEmpty());
}

TEST(LayoutRules, findCircles) {
  const std::vector<SourceFile> files = {parsedSource("base/A.hpp", "#include \"base/B.hpp\"\n"),
                                         parsedSource("base/B.hpp", "#include \"base/A.hpp\"\n")};
  EXPECT_THAT(includeCircles(files), ElementsAre("base/A.hpp -> base/B.hpp -> base/A.hpp"));
  const std::vector<SourceFile> rooms = {parsedSource("relay/A.hpp", "#include \"pairing/B.hpp\"\n"),
                                         parsedSource("pairing/C.hpp", "#include \"relay/D.hpp\"\n")};
  EXPECT_THAT(roomCircles(rooms), ElementsAre("pairing -> relay -> pairing"));
}

TEST(LayoutRules, findPlatformLeaks) {
  EXPECT_THAT(platformLeaks({parsedSource("app/A.cpp", "#ifdef __linux__\n#endif\n")}),
              ElementsAre(HasSubstr("conditional")));
  EXPECT_THAT(platformLeaks({parsedSource("app/A.cpp", "auto t = std::chrono::steady_clock::now();\n")}),
              ElementsAre(HasSubstr("app/A.cpp:1: a clock read")));
  EXPECT_THAT(platformLeaks({parsedSource("app/A.cpp", "std::this_thread::sleep_for(s);\n")}),
              ElementsAre(HasSubstr("sleep")));
  EXPECT_THAT(platformLeaks({parsedSource("app/A.cpp", "auto h = std::getenv(\"HOME\");\n")}),
              ElementsAre(HasSubstr("environment")));
  EXPECT_THAT(platformLeaks({parsedSource("app/A.cpp", "// getenv is for backends\nauto s = \"getenv\";\n")}),
              IsEmpty());
  EXPECT_THAT(platformLeaks({parsedSource("platform/linux/A.cpp", "getenv(\"HOME\");\n")}), IsEmpty());
}

TEST(LayoutRules, findLocaleLeaks) {
  for (const std::string code :
       {"auto n = std::strtod(text, &end);", "int n = std::stoi(text);", "sscanf(t, \"%f\", &x);",
        "std::snprintf(b, 9, \"%f\", x);", "if (std::isspace(c)) return;", "c = tolower(c);",
        "std::setlocale(LC_ALL, \"\");", "stream.imbue(std::locale(\"\"));"})
    EXPECT_THAT(localeLeaks({parsedSource("app/A.cpp", code + "\n")}), ElementsAre(HasSubstr("locale"))) << code;
  EXPECT_THAT(
      localeLeaks({parsedSource("app/A.cpp", "std::from_chars(a, b, x);  // unlike strtod\nparsed.isDigit();\n")}),
      IsEmpty());
}

TEST(LayoutRules, countTheOperationsOfAnInterface) {
  std::string text = "class Wide {\n public:\n  virtual ~Wide() = default;\n";
  for (int i = 0; i < 9; ++i)
    text += "  virtual void f" + std::to_string(i) + "() = 0;\n";
  EXPECT_THAT(brokenSeamRules({parsedSource("platform/Wide.hpp", text + "};\n")}),
              ElementsAre("platform/Wide.hpp: Wide has more than eight operations"));
}

}  // namespace
}  // namespace tallyfox::layout
