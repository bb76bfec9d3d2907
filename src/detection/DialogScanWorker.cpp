#include "detection/DialogScanWorker.hpp"

#include <utility>

namespace tallyfox {

void DialogScanWorker::scan(std::function<void(std::vector<PendingApproval>)> completion) {
  workerQueue_.post([&detector = detector_, &mainQueue = mainQueue_, completion = std::move(completion)]() mutable {
    mainQueue.post([approvals = detector.scan(), completion = std::move(completion)]() mutable {
      completion(std::move(approvals));
    });
  });
}

}  // namespace tallyfox
