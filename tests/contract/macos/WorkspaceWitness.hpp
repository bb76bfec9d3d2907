#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "contract/Recorder.hpp"
#include "platform/Applications.hpp"

namespace tallyfox::contract {

/// Hears what the workspace tells, beside the backend that is tested, so that a test knows when all was told. Any
/// thread but the main one.
class WorkspaceWitness {
 public:
  WorkspaceWitness();
  ~WorkspaceWitness();
  WorkspaceWitness(const WorkspaceWitness&) = delete;
  WorkspaceWitness& operator=(const WorkspaceWitness&) = delete;

  [[nodiscard]] std::size_t count(WorkspaceEventKind kind, std::int32_t pid) const { return heard_.count({kind, pid}); }
  /// Whether the application that is in front is also the one that was told to be. True where none is.
  [[nodiscard]] bool isAtRest() const;
  /// 0 where no application is.
  [[nodiscard]] static std::int32_t frontmost();
  /// Asks the system, as the owner's click on the Dock would, to bring the application to the front.
  static void bringToFront(std::int32_t pid);

 private:
  struct Impl;
  Recorder<WorkspaceEvent> heard_;
  std::int32_t frontmostAtFirst_ = 0;
  std::unique_ptr<Impl> impl_;
};

}  // namespace tallyfox::contract
