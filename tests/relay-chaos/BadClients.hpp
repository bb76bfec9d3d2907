#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "World.hpp"

namespace tallyfox::chaos {

/// One round of clients that behave badly, in a shuffled order and some hundreds at a time.
class BadClients {
 public:
  enum class Kind {
    halfOpen,    ///< a welcomed phone that neither reads nor answers pings any more; its system still acknowledges
    vanished,    ///< one whose end is gone without a packet, so that the next ping meets a reset
    silent,      ///< connects and says nothing
    begins,      ///< breaks off within its request and stays
    mute,        ///< upgrades and says no hello
    slowReader,  ///< a welcomed phone that does not read while its agent talks
    byteWriter,  ///< a welcomed phone that writes its decision byte by byte, which is its right
    dropped,     ///< breaks off within a frame and goes, in order or with a reset
    returning,   ///< comes, is welcomed and goes, several times
  };

  /// The pairings from `firstPairing` on; the first of them has the slow readers.
  BadClients(const World& world, std::size_t firstPairing, std::size_t halfOpen);

  /// How many pairings so many clients need.
  [[nodiscard]] static std::size_t pairingsFor(std::size_t halfOpen);
  /// Moves on; to be called all the time.
  void turn();
  /// Everyone has done what it came for; those that stay are still there.
  [[nodiscard]] bool allDone() const { return waiting_.empty() && busy_ == 0; }
  /// Those that have to be cut.
  [[nodiscard]] std::size_t staying() const { return staying_.size(); }
  /// Decisions of byte writers that arrived, of so many.
  [[nodiscard]] std::size_t slowDecisions() const { return slowDecisions_; }
  [[nodiscard]] std::size_t byteWriters() const { return byteWriters_; }
  [[nodiscard]] std::size_t vanished() const { return vanished_; }
  /// Lets go of everything on this side.
  void clear();

 private:
  void begin(Kind kind);
  void beginStranger(Kind kind);
  void beginPhone(Kind kind);
  void welcomed(load::LoadSocket& socket, Kind kind);
  void stay(load::LoadSocket& socket);
  void leave(load::LoadSocket& socket, bool reset);
  void feedSlowReaders();

  World world_;
  std::size_t firstPairing_;
  std::vector<Kind> waiting_;
  std::vector<load::LoadSocket*> staying_;
  std::map<load::LoadSocket*, std::string> writing_;  ///< what byte writers still have to say
  load::LoadSocket* talker_ = nullptr;
  std::size_t busy_ = 0;
  std::size_t slowDecisions_ = 0, byteWriters_ = 0, vanished_ = 0, slowReaders_ = 0;
  std::size_t phones_ = 0;
  std::size_t fed_ = 0;
};

}  // namespace tallyfox::chaos
