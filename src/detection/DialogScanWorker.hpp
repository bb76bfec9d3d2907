#pragma once

#include <functional>
#include <vector>

#include "base/Queue.hpp"
#include "detection/DialogDetector.hpp"

namespace tallyfox {

/// Runs scans of one detector on a serial queue of its own, one at a time.
class DialogScanWorker {
 public:
  DialogScanWorker(DialogDetector& detector, SerialQueue& workerQueue, SerialQueue& mainQueue)
      : detector_(detector), workerQueue_(workerQueue), mainQueue_(mainQueue) {}
  /// Returns at once; `completion` runs on the main queue.
  void scan(std::function<void(std::vector<PendingApproval>)> completion);

 private:
  DialogDetector& detector_;
  SerialQueue& workerQueue_;
  SerialQueue& mainQueue_;
};

}  // namespace tallyfox
