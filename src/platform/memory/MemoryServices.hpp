#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "base/Console.hpp"
#include "base/Queue.hpp"
#include "platform/ApplicationBundle.hpp"
#include "platform/Environment.hpp"
#include "platform/HttpClient.hpp"
#include "platform/InstanceLock.hpp"
#include "platform/Keychain.hpp"
#include "platform/LoginItemService.hpp"
#include "platform/SettingsOpener.hpp"
#include "platform/Updater.hpp"
#include "platform/UserDefaults.hpp"
#include "platform/UserNotifications.hpp"
#include "platform/WebSocketTransport.hpp"

namespace tallyfox::memory {

/// Keeps the lines. Any thread; lines() is for when nobody prints.
class MemoryConsole : public Console {
 public:
  void printLine(std::string_view line) override;
  [[nodiscard]] const std::vector<std::string>& lines() const { return lines_; }
  void clear() { lines_.clear(); }

 private:
  std::mutex mutex_;
  std::vector<std::string> lines_;
};

class MemoryEnvironment : public Environment {
 public:
  std::optional<std::string> value(const std::string& name) override;
  std::string timeZoneIdentifier() override { return timeZone_; }
  /// "Etc/UTC" until set.
  void setTimeZone(const std::string& identifier) { timeZone_ = identifier; }
  void set(const std::string& name, const std::string& value) { values_[name] = value; }
  void unset(const std::string& name) { values_.erase(name); }

 private:
  std::map<std::string, std::string> values_;
  std::string timeZone_ = "Etc/UTC";
};

class MemoryUserDefaults : public UserDefaults {
 public:
  std::optional<DefaultsValue> object(const std::string& key) override;
  void setObject(const std::string& key, const DefaultsValue& value) override;
  void removeObject(const std::string& key) override;
  [[nodiscard]] const std::map<std::string, DefaultsValue>& values() const { return values_; }
  /// Every write, in order, removals as absent values.
  [[nodiscard]] const std::vector<std::pair<std::string, std::optional<DefaultsValue>>>& writes() const {
    return writes_;
  }

 private:
  std::mutex mutex_;
  std::map<std::string, DefaultsValue> values_;
  std::vector<std::pair<std::string, std::optional<DefaultsValue>>> writes_;
};

/// Both keychains. `failNext` makes the next call of an operation answer with a status instead; `corruptReads` makes
/// reads give other bytes than were stored.
class MemoryKeychain : public Keychain {
 public:
  enum class Operation { update, add, copyMatching, remove };
  KeychainStatus update(const KeychainItem& item, ByteView value) override;
  KeychainStatus add(const KeychainItem& item, ByteView value) override;
  std::expected<Bytes, KeychainStatus> copyMatching(const KeychainItem& item) override;
  KeychainStatus remove(const KeychainItem& item) override;

  /// Without it every data-protection call answers missingEntitlement.
  void setDataProtectionAvailable(bool available) { dataProtectionAvailable_ = available; }
  void failNext(Operation operation, bool useDataProtectionKeychain, KeychainStatus status);
  void corruptReads(bool corrupt) { corruptReads_ = corrupt; }
  void put(const KeychainItem& item, Bytes value);
  [[nodiscard]] std::optional<Bytes> stored(const KeychainItem& item) const;
  /// Every call in order: "update legacy", "add data-protection", ...
  [[nodiscard]] const std::vector<std::string>& calls() const { return calls_; }

 private:
  std::optional<KeychainStatus> begin(Operation operation, const KeychainItem& item);
  using Key = std::tuple<bool, std::string, std::string>;
  mutable std::mutex mutex_;
  std::map<Key, Bytes> items_;
  std::map<std::pair<Operation, bool>, std::vector<KeychainStatus>> failures_;
  std::vector<std::string> calls_;
  bool dataProtectionAvailable_ = true;
  bool corruptReads_ = false;
};

class MemoryBundle : public ApplicationBundle {
 public:
  std::optional<std::string> bundleIdentifier() override { return identifier; }
  /// By the ending of the path.
  bool isApplicationBundle() override;
  std::optional<std::string> informationValue(const std::string& key) override;
  std::string path() override;
  std::vector<std::string> applicationDirectories() override { return directories; }
  std::optional<std::expected<std::map<std::string, std::string>, std::string>> propertyList(
      const std::string& name) override;

  std::optional<std::string> identifier = "com.tallyfox.agent";
  std::string location = "/Applications/Tallyfox.app";
  std::map<std::string, std::string> links;  ///< locations that are symbolic links, and what they point to
  std::vector<std::string> directories = {"/Applications", "/home/owner/Applications"};
  std::map<std::string, std::expected<std::map<std::string, std::string>, std::string>> resources;
  std::map<std::string, std::string> information;
};

/// One lock table shared by several agents of a test.
class MemoryInstanceLock : public InstanceLock {
 public:
  MemoryInstanceLock();
  LockResult acquire(const std::string& fileName) override;
  void setUnavailable(bool unavailable) { unavailable_ = unavailable; }
  [[nodiscard]] bool isHeld(const std::string& fileName) const;

 private:
  std::shared_ptr<std::set<std::string>> held_;
  bool unavailable_ = false;
};

/// Answers as planned, and keeps what is delivered while that answer is yes.
class MemoryNotifications : public UserNotifications {
 public:
  explicit MemoryNotifications(SerialQueue& mainQueue) : mainQueue_(mainQueue) {}

  void requestAuthorization(std::function<void(std::expected<bool, std::string>)> completion) override;
  void add(const UserNotification& notification) override;
  [[nodiscard]] const std::vector<UserNotification>& delivered() const { return delivered_; }
  void forget() { delivered_.clear(); }
  std::expected<bool, std::string> authorization = true;
  int authorizationRequests = 0;

 private:
  SerialQueue& mainQueue_;
  std::vector<UserNotification> delivered_;
};

/// Answers and registers as planned.
class MemoryLoginItemService : public LoginItemService {
 public:
  LoginItemServiceStatus status() override { return current; }
  std::expected<void, std::string> registerItem() override;

  LoginItemServiceStatus current = LoginItemServiceStatus::notRegistered;
  LoginItemServiceStatus afterRegistration = LoginItemServiceStatus::enabled;
  std::optional<std::string> registrationError;
  int registrations = 0;  ///< attempts, failed ones included
};

/// Keeps the addresses.
class MemorySettingsOpener : public SettingsOpener {
 public:
  void open(const std::string& address) override { opened_.push_back(address); }
  [[nodiscard]] const std::vector<std::string>& opened() const { return opened_; }

 private:
  std::vector<std::string> opened_;
};

/// Does what the test has it find.
class MemoryUpdater : public Updater {
 public:
  std::unique_ptr<RunningUpdater> start(UpdaterDelegate& delegate) override;
  /// Finds an update without having been asked; shows it or leaves that to the delegate, as the delegate wants.
  void findScheduledUpdate(const UpdateItem& update);
  /// The owner turns to the update that was found.
  void attend(const UpdateItem& update);
  void finishSession();

  int starts = 0;
  int checks = 0;                   ///< that were asked for
  std::vector<UpdateItem> windows;  ///< updates that the updater showed by itself

 private:
  class Running;
  std::shared_ptr<UpdaterDelegate*> delegate_ = std::make_shared<UpdaterDelegate*>(nullptr);  ///< null when not running
};

/// The network: sockets and requests stay where the test can see, answer, drop or refuse them. Completions run as tasks
/// of the queue given (the transport's own thread). Any thread; what sockets() and requests() refer to changes with
/// what happens next.
class MemoryNetwork {
 public:
  explicit MemoryNetwork(std::shared_ptr<SerialQueue> queue);
  ~MemoryNetwork();
  [[nodiscard]] WebSocketTransport& webSockets();
  [[nodiscard]] HttpClient& http();

  struct Socket {
    std::size_t number = 0;  ///< 0 for the first one started
    WebSocketRequest request;
    bool isOpen = false;
    bool isCancelled = false;  ///< by the client
    std::optional<std::uint16_t> closeCode;
    std::vector<std::string> sent;  ///< text frames accepted
  };
  [[nodiscard]] const std::vector<Socket>& sockets() const;
  void open(std::size_t socket);
  /// The connection attempt fails: the pending receive fails, no open event.
  void refuse(std::size_t socket, const std::string& description = "Connection refused.");
  void deliver(std::size_t socket, const std::string& text);
  /// The far side closes: close event and failed receive.
  void close(std::size_t socket);
  /// Sends fail from now on.
  void failSends(std::size_t socket, bool fails);
  /// Runs for every socket that is started; open() and refuse() are for later.
  void onStart(std::function<void(std::size_t socket)> hook);
  /// Runs for every request that is sent, unless answerAll() answers it; answer() is for later.
  void onRequest(std::function<void(std::size_t request)> hook);
  /// Runs for every text frame that a socket accepts.
  void onFrame(std::function<void(std::size_t socket, const std::string& text)> hook);
  /// Forgets the frames that were sent, so that a long run does not keep them all.
  void forgetFrames();
  /// Sends stay unanswered until released.
  void holdSends(std::size_t socket, bool hold);

  struct Request {
    HttpRequest request;
    bool isAbandoned = false;
    bool isAnswered = false;
  };
  [[nodiscard]] const std::vector<Request>& requests() const;
  void answer(std::size_t request, std::expected<HttpResponse, TransportError> response);
  /// Every request from now on is answered so at once; absent: they wait for answer().
  void answerAll(std::optional<std::expected<HttpResponse, TransportError>> response);

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace tallyfox::memory
