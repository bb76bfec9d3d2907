// The colours: the product's own to the letter, and every text readable on whatever it stands on, measured as the
// accessibility guidelines of the web measure contrast.

#include "ui/AppTheme.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

namespace tallyfox {
namespace {

double linear(double component) {
  return component <= 0.04045 ? component / 12.92 : std::pow((component + 0.055) / 1.055, 2.4);
}

double luminance(const Color& color) {
  return 0.2126 * linear(color.red) + 0.7152 * linear(color.green) + 0.0722 * linear(color.blue);
}

double contrast(const Color& one, const Color& other) {
  const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
  return (lighter + 0.05) / (darker + 0.05);
}

constexpr double readable = 4.5;
constexpr double discernible = 3;  ///< what is no text

const std::vector<Appearance> appearances = {Appearance::light, Appearance::dark};
const std::vector<TextRole> textRoles = {TextRole::primary, TextRole::secondary, TextRole::positive, TextRole::warning};

TEST(Contrast, isMeasuredAsTheGuidelinesDo) {
  EXPECT_NEAR(contrast({0, 0, 0}, {1, 1, 1}), 21, 1e-9);
  EXPECT_NEAR(contrast({1, 1, 1}, {1, 1, 1}), 1, 1e-9);
  // The well-known lightest grey that may be written in on white.
  EXPECT_NEAR(contrast({0x76 / 255.0, 0x76 / 255.0, 0x76 / 255.0}, {1, 1, 1}), 4.54, 0.01);
}

TEST(AppBrand, hasItsColoursToTheLetter) {
  EXPECT_EQ(app_brand::ink, (Color{0.09, 0.12, 0.14}));
  EXPECT_EQ(app_brand::green, (Color{0.16, 0.78, 0.34}));
  EXPECT_EQ(app_brand::amber, (Color{0.95, 0.58, 0.16}));
  EXPECT_EQ(app_brand::successPill, (Color{0.04, 0.36, 0.18}));
  EXPECT_EQ(app_brand::warningPill, (Color{0.58, 0.30, 0.06}));
}

TEST(AppTheme, writesReadablyOnWindowCardsAndButtons) {
  for (const Appearance appearance : appearances) {
    const AppTheme theme = AppTheme::of(appearance);
    for (const TextRole role : textRoles) {
      for (const auto& [name, ground] : {std::pair<std::string, Color>{"window", theme.windowBackground},
                                         {"card", theme.cardBackground},
                                         {"button", theme.buttonBackground}})
        EXPECT_GE(contrast(theme.textColor(role), ground), readable)
            << "appearance " << static_cast<int>(appearance) << " role " << static_cast<int>(role) << " on " << name;
    }
  }
}

TEST(AppTheme, writesReadablyOnPills) {
  EXPECT_EQ(pillColor(PillRole::success), app_brand::successPill);
  EXPECT_EQ(pillColor(PillRole::warning), app_brand::warningPill);
  for (const PillRole role : {PillRole::success, PillRole::warning})
    EXPECT_GE(contrast(pillTextColor, pillColor(role)), readable);
}

TEST(AppTheme, showsTheFocusPlainlyOnWhateverItSurrounds) {
  for (const Appearance appearance : appearances) {
    const AppTheme theme = AppTheme::of(appearance);
    for (const Color& ground : {theme.windowBackground, theme.cardBackground, theme.buttonBackground})
      EXPECT_GE(contrast(theme.focusRing, ground), discernible) << static_cast<int>(appearance);
  }
}

TEST(AppTheme, isLightOrDarkThroughout) {
  const AppTheme light = AppTheme::of(Appearance::light);
  const AppTheme dark = AppTheme::of(Appearance::dark);
  EXPECT_GT(luminance(light.windowBackground), luminance(light.text));
  EXPECT_LT(luminance(dark.windowBackground), luminance(dark.text));
  // A card lies above the window it is on, in both.
  EXPECT_GT(luminance(light.cardBackground), luminance(light.windowBackground));
  EXPECT_GT(luminance(dark.cardBackground), luminance(dark.windowBackground));
}

TEST(AppTheme, hasMoreContrastForWhoeverAsksForIt) {
  for (const Appearance appearance : appearances) {
    const AppTheme plain = AppTheme::of(appearance);
    const AppTheme strong = plain.withIncreasedContrast();
    for (const TextRole role : textRoles)
      EXPECT_GE(contrast(strong.textColor(role), strong.cardBackground),
                contrast(plain.textColor(role), plain.cardBackground));
    EXPECT_EQ(strong.textColor(TextRole::secondary), plain.text);
    for (const Color& edge : {strong.cardBorder, strong.buttonBorder})
      for (const Color& ground : {strong.windowBackground, strong.cardBackground})
        EXPECT_GE(contrast(edge, ground), readable) << static_cast<int>(appearance);
  }
}

TEST(AppTheme, tellsItsTextRolesApart) {
  for (const Appearance appearance : appearances) {
    const AppTheme theme = AppTheme::of(appearance);
    for (std::size_t one = 0; one < textRoles.size(); ++one)
      for (std::size_t other = 0; other < one; ++other)
        EXPECT_NE(theme.textColor(textRoles[one]), theme.textColor(textRoles[other])) << one << " and " << other;
  }
}

}  // namespace
}  // namespace tallyfox
