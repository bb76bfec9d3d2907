#pragma once

// A Secret Service that calls itself unlocked and then wants to ask its owner: what a keyring looks like that was
// locked between two calls.

#include <atomic>
#include <string>
#include <string_view>

#include "platform/PrivateBus.hpp"

namespace tallyfox {

class PromptingSecretService {
 public:
  explicit PromptingSecretService(const PrivateBus& bus)
      : program_(bus, "org.freedesktop.secrets", "/org/freedesktop/secrets",
                 [this](sd_bus_message* call) { return answer(call); }) {}

  [[nodiscard]] int refusedCalls() const { return refusedCalls_; }
  [[nodiscard]] int promptsShown() const { return promptsShown_; }

 private:
  static constexpr const char* root = "/org/freedesktop/secrets";
  static constexpr const char* collection = "/org/freedesktop/secrets/collection/login";
  static constexpr const char* item = "/org/freedesktop/secrets/collection/login/1";
  static constexpr const char* prompt = "/org/freedesktop/secrets/prompt/1";

  int answer(sd_bus_message* call) {
    const std::string_view member = sd_bus_message_get_member(call);
    const std::string_view path = sd_bus_message_get_path(call);
    if (member == "ReadAlias") return sd_bus_reply_method_return(call, "o", collection);
    if (member == "OpenSession") return openSession(call);
    if (member == "SearchItems") return sd_bus_reply_method_return(call, "ao", hasItem_ ? 1 : 0, item);
    if (member == "CreateItem") {
      ++refusedCalls_;
      hasItem_ = true;
      return sd_bus_reply_method_return(call, "oo", "/", prompt);
    }
    if (member == "Delete") {
      ++refusedCalls_;
      return sd_bus_reply_method_return(call, "o", prompt);
    }
    if (member == "GetAll") return sd_bus_reply_method_return(call, "a{sv}", path == root ? 0 : 1, "Locked", "b", 0);
    if (member == "Prompt") ++promptsShown_;
    return sd_bus_reply_method_return(call, "");
  }

  static int openSession(sd_bus_message* call) {
    const char* algorithm = nullptr;
    sd_bus_message_read(call, "s", &algorithm);
    if (std::string_view(algorithm) != "plain")
      return sd_bus_reply_method_errorf(call, SD_BUS_ERROR_NOT_SUPPORTED, "plain only");
    return sd_bus_reply_method_return(call, "vo", "s", "", "/org/freedesktop/secrets/session/1");
  }

  std::atomic<int> refusedCalls_ = 0;
  std::atomic<int> promptsShown_ = 0;
  bool hasItem_ = false;
  BusProgram program_;
};

}  // namespace tallyfox
