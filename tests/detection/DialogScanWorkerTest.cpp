// Scans run on the worker's queue, one after the other; their results arrive on the main queue.

#include "detection/DialogScanWorker.hpp"

#include <gtest/gtest.h>

#include "detection/DetectorDesktop.hpp"

namespace tallyfox {
namespace {

TEST(DialogScanWorker, scansOnItsQueueAndCompletesOnTheMainQueue) {
  memory::DetectorDesktop world;
  world.desktop.openWindow(world.desktop.launch("Notes", "org.notes"), memory::accessPrompt());
  const auto workerQueue = world.time.makeQueue("scan");
  auto dependencies = world.dependencies(world.desktop.accessibility(), world.desktop.elements());
  bool scannedOnWorker = false;
  dependencies.diagnosticsEnabled = [&] {
    scannedOnWorker = workerQueue->isCurrent();
    return false;
  };
  DialogDetector detector(std::move(dependencies));
  DialogScanWorker worker(detector, *workerQueue, *world.mainQueue);
  std::vector<std::size_t> results;
  for (int i = 0; i < 2; ++i) {
    worker.scan([&](const std::vector<PendingApproval>& approvals) {
      EXPECT_TRUE(world.mainQueue->isCurrent());
      results.push_back(approvals.size());
    });
  }
  EXPECT_TRUE(results.empty());
  world.time.runDue();
  EXPECT_TRUE(scannedOnWorker);
  EXPECT_EQ(results, (std::vector<std::size_t>{0, 1}));
}

TEST(DialogScanWorker, mayBeGoneWhenItsScanEnds) {
  memory::DetectorDesktop world;
  const auto workerQueue = world.time.makeQueue("scan");
  int completions = 0;
  {
    DialogScanWorker worker(world.detector, *workerQueue, *world.mainQueue);
    worker.scan([&](const auto&) { ++completions; });
  }
  world.time.runDue();
  EXPECT_EQ(completions, 1);
}

}  // namespace
}  // namespace tallyfox
