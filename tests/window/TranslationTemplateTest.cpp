// The template for translators lists every fixed text that the interface can show, and none that it cannot. The texts
// come from all states of the window, from the menus and questions, and from what the toolkit's part adds to them.
// Where the template is out of date, the right one lies in the build folder, to be taken over.

#include <gtest/gtest.h>

#include <QApplication>
#include <QFile>
#include <QTranslator>
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <string>

#include "platform/linux/window/AboutBox.hpp"
#include "ui/Menu.hpp"
#include "ui/MenuBarIcon.hpp"
#include "ui/StatusWindowStates.hpp"

namespace tallyfox::linux_os {
namespace {

using Texts = std::set<std::string>;

constexpr const char* version = "31.41.59";

std::string contentOf(const std::filesystem::path& file) {
  std::ostringstream text;
  text << std::ifstream(file).rdbuf();
  return text.str();
}

void addTo(Texts& texts, const std::optional<StatusRowModel>& row) {
  if (!row) return;
  texts.insert({row->title, row->detail});
  if (row->pill) texts.insert(row->pill->text);
  for (const auto& button : {row->button, row->secondaryButton})
    if (button) texts.insert(button->title);
}

void addTo(Texts& texts, const PairingCardModel& card) {
  texts.insert({card.title, card.status, card.detail, card.caption, card.problem.value_or("")});
  for (const auto& button : {card.openSettings, card.codeToggle, card.unpair})
    if (button) texts.insert(button->title);
}

Texts textsOfTheWindow() {
  Texts texts;
  for (std::size_t number = 0; number < window_states::stateCount; ++number) {
    const StatusWindowModel model = modelOf(window_states::stateOf(number));
    texts.insert({model.title, model.headline, model.detail, model.pill.text});
    addTo(texts, model.pairing);
    for (const auto& row : {model.update, model.installLocation, std::optional(model.accessibility),
                            std::optional(model.loginItem), std::optional(model.notificationPause)})
      addTo(texts, row);
  }
  return texts;
}

Texts textsOfMenusAndQuestions() {
  const ConfirmationModel question = unpairConfirmation();
  Texts texts = {menuBarToolTip, question.title, question.detail, question.confirmTitle, question.cancelTitle};
  for (const auto& entry : applicationMenu(true))
    texts.insert(entry.title);
  for (const auto& entry : pauseMenu(true))
    texts.insert(entry.title);
  return texts;
}

/// Hears what is looked up.
class ListeningTranslator : public QTranslator {
 public:
  [[nodiscard]] bool isEmpty() const override { return false; }
  [[nodiscard]] QString translate(const char* context, const char* text, const char* /*disambiguation*/,
                                  int /*count*/) const override {
    if (std::string(context) == "Tallyfox") heard.insert(text);
    return {};
  }
  mutable Texts heard;
};

Texts textsOfTheAboutBox() {
  ListeningTranslator translator;
  QApplication::installTranslator(&translator);
  const AboutBox box(version, Appearance::light);
  QApplication::removeTranslator(&translator);
  return translator.heard;
}

/// What the toolkit's part looks up by literals of its own: names for those who do not see, and its own menu entry.
Texts textsInTheCode() {
  static const std::regex literal(R"re(localized\(\s*"([^"\\]+)"\s*\))re");
  Texts texts;
  for (const auto& file : std::filesystem::directory_iterator(TALLYFOX_SOURCE_DIR "/src/platform/linux/window")) {
    const std::string code = contentOf(file.path());
    for (std::sregex_iterator at(code.begin(), code.end(), literal), end; at != end; ++at)
      texts.insert((*at)[1]);
  }
  return texts;
}

/// Whether the text has a part that is no word of this program. Such a text is looked up whole and found in no
/// translation, so the template has none.
bool isComposed(const std::string& text) {
  const std::vector<std::string> foreign = {window_states::statesPhone.deviceName,
                                            window_states::keychainLocked,
                                            "It is so.",
                                            "2:10 PM",
                                            "Tallyfox 2.1 ",
                                            version};
  return std::ranges::any_of(foreign, [&](const std::string& part) { return text.find(part) != std::string::npos; });
}

Texts fixedTexts() {
  Texts texts = textsOfTheWindow();
  for (Texts more : {textsOfMenusAndQuestions(), textsOfTheAboutBox(), textsInTheCode()})
    texts.merge(more);
  texts.erase("");
  std::erase_if(texts, isComposed);
  return texts;
}

std::string escaped(const std::string& text) {
  return QString::fromStdString(text).toHtmlEscaped().replace('\'', QStringLiteral("&apos;")).toStdString();
}

std::string templateOf(const Texts& texts) {
  std::string file =
      "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
      "<!DOCTYPE TS>\n"
      "<!-- Every fixed text of the interface. Copy to tallyfox_LOCALE.ts, translate with Qt Linguist, and install "
      "what\n"
      "     lrelease makes of it as share/tallyfox/translations/tallyfox_LOCALE.qm.\n"
      "     Not here, because the program shows them as they are: sentences with a phone's name, a version or a time "
      "in\n"
      "     them, and what the system says of login items and keychains. -->\n"
      "<TS version=\"2.1\" sourcelanguage=\"en_US\">\n"
      "<context>\n"
      "    <name>Tallyfox</name>\n";
  for (const std::string& text : texts)
    file += "    <message>\n        <source>" + escaped(text) +
            "</source>\n        <translation type=\"unfinished\"></translation>\n    </message>\n";
  return file + "</context>\n</TS>\n";
}

TEST(TranslationTemplate, listsEveryFixedTextAndNoOther) {
  const std::string expected = templateOf(fixedTexts());
  std::ofstream(TALLYFOX_TRANSLATION_OUTPUT) << expected;
  EXPECT_EQ(contentOf(TALLYFOX_SOURCE_DIR "/packaging/linux/translations/tallyfox_en.ts"), expected)
      << "take over " << TALLYFOX_TRANSLATION_OUTPUT;
}

TEST(TranslationTemplate, isGatheredFromEveryPlaceThatShowsTexts) {
  const Texts texts = fixedTexts();
  for (const char* text :
       {"All OK", "Move app, then reopen.", "Unpair iPhone", "Pause for 2 Hours", "Install Update...", "Quit Tallyfox",
        "Resume Now", "Unpair iPhone?", "Cancel", "Close", "Pairing code", "About Tallyfox",
        "Answer this computer's approval dialogs from a paired phone."})
    EXPECT_TRUE(texts.contains(text)) << text;
}

TEST(TranslationTemplate, leavesOutOnlyTextsWithForeignParts) {
  Texts composed = textsOfTheWindow();
  composed.merge(textsOfTheAboutBox());
  std::erase_if(composed, [](const std::string& text) { return !isComposed(text); });
  EXPECT_EQ(composed, (Texts{"It is so.", "Keychain is unavailable (-25308).", "Paused until 2:10 PM",
                             "Tallyfox 2.1 is ready to install.", std::string("Version ") + version,
                             "Work Phone can receive approval alerts from this Mac."}));
}

}  // namespace
}  // namespace tallyfox::linux_os
