#pragma once

#include <functional>
#include <memory>
#include <string>

#include "base/Console.hpp"
#include "base/Queue.hpp"
#include "platform/Accessibility.hpp"
#include "platform/AccessibilityElements.hpp"
#include "platform/AccessibilityObservers.hpp"
#include "platform/ApplicationBundle.hpp"
#include "platform/Applications.hpp"
#include "platform/Environment.hpp"
#include "platform/HttpClient.hpp"
#include "platform/InstanceLock.hpp"
#include "platform/Keychain.hpp"
#include "platform/LoginItemService.hpp"
#include "platform/SettingsOpener.hpp"
#include "platform/SyntheticInput.hpp"
#include "platform/Updater.hpp"
#include "platform/UserDefaults.hpp"
#include "platform/UserNotifications.hpp"
#include "platform/WebSocketTransport.hpp"
#include "platform/WindowList.hpp"

namespace tallyfox {

/// Everything that the agent needs of the world; a backend's main fills it. All referents outlive the agent.
struct AgentPlatform {
  SerialQueue& mainQueue;
  SerialQueue& scanQueue;
  /// A new serial queue with this label.
  std::function<std::shared_ptr<SerialQueue>(const std::string& label)> makeQueue;
  Clock& clock;
  Console& console;
  Environment& environment;
  Accessibility& accessibility;
  AccessibilityElements& accessibilityElements;
  AccessibilityObservers& accessibilityObservers;
  Applications& applications;
  WindowList& windowList;
  SyntheticInput& syntheticInput;
  WebSocketTransport& webSockets;
  HttpClient& http;
  Keychain& keychain;
  UserDefaults& defaults;
  ApplicationBundle& bundle;
  InstanceLock& instanceLock;
  UserNotifications& notifications;
  LoginItemService& loginItemService;
  SettingsOpener& settings;
  Updater* updater = nullptr;  ///< none where something else keeps programs up to date
  /// Ends the event loop; leads to AppDelegate::applicationWillTerminate.
  std::function<void()> terminateApplication;
};

}  // namespace tallyfox
