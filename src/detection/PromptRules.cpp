#include "detection/PromptRules.hpp"

#include <array>
#include <string_view>

#include "base/Text.hpp"
#include "detection/PromptText.hpp"

namespace tallyfox {

namespace {

constexpr std::array<std::string_view, 3> serviceIdentifiers = {"securityagent", "coreservicesuiagent", "loginwindow"};
constexpr std::array<std::string_view, 4> serviceNames = {"securityagent", "core services ui agent",
                                                          "coreservicesuiagent", "loginwindow"};
constexpr std::array<std::string_view, 4> secretPhrases = {"password", "keychain", "access key", "login keychain"};

constexpr const char* secretReason =
    "This dialog asks for a password or keychain access. Use TeamViewer, AnyDesk, Screen Sharing, or physical access "
    "so Tallyfox never handles secrets. You can still deny it remotely.";
constexpr const char* settingsReason =
    "Approving this requires changing macOS settings. Use TeamViewer, AnyDesk, Screen Sharing, or physical access to "
    "approve it. You can still deny it remotely.";

}  // namespace

bool isKnownPromptService(const std::string& appName, const std::optional<std::string>& bundleIdentifier) {
  return containsAny(lowercased(bundleIdentifier.value_or("")), serviceIdentifiers) ||
         containsAny(lowercased(appName), serviceNames);
}

std::optional<std::string> directAccessRequiredReason(const std::string& title,
                                                      const std::vector<std::string>& messageLines,
                                                      const std::vector<DialogButton>& buttons) {
  const std::string text = combinedPromptText(title, messageLines);
  if (containsAny(text, secretPhrases)) return secretReason;
  std::vector<std::string> labels;
  labels.reserve(buttons.size());
  for (const DialogButton& button : buttons)
    labels.push_back(button.label);
  if (hasSettingsButton(normalizedLabels(labels)) || containsAny(text, settingsPhrases)) return settingsReason;
  return std::nullopt;
}

}  // namespace tallyfox
