#pragma once

#include <boost/asio/awaitable.hpp>
#include <list>
#include <map>
#include <string>
#include <string_view>

namespace tallyfox::server {

/// Lets operations on one key follow one another, in the order in which they asked; those on other keys go on beside
/// them. For one thread; must outlive its turns.
class KeyedTurns {
 public:
  /// Lasts until it is destroyed.
  class Turn {
   public:
    Turn(Turn&& other) noexcept;
    Turn& operator=(Turn&&) = delete;
    ~Turn();

   private:
    friend class KeyedTurns;
    Turn(KeyedTurns& turns, std::string key) : turns_(&turns), key_(std::move(key)) {}
    KeyedTurns* turns_;
    std::string key_;
  };

  [[nodiscard]] boost::asio::awaitable<Turn> take(std::string key);

 private:
  class Waiting;

  /// Lets the next one in.
  void release(const std::string& key);

  std::map<std::string, std::list<Waiting*>, std::less<>> waiting_;  ///< a key is here while its turn is taken
};

}  // namespace tallyfox::server
