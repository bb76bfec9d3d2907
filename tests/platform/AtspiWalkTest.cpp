// The walk over a partly known tree: read in waves, it ends with exactly the elements that a reader of the whole tree
// visits, in the same order, and asks for none that lies beyond the limit for certain.

#include "platform/linux/AtspiWalk.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <map>
#include <random>
#include <set>
#include <vector>

namespace tallyfox::linux_os {
namespace {

using Tree = std::map<int, std::vector<int>>;

Tree randomTree(std::mt19937& random, int nodes) {
  Tree tree{{0, {}}};
  for (int node = 1; node < nodes; ++node) {
    std::uniform_int_distribution<int> parent(std::max(0, node - 12), node - 1);
    tree[parent(random)].push_back(node);
    tree[node];
  }
  return tree;
}

/// The walk as readers make it, one element at a time.
std::vector<int> readersWalk(const Tree& tree, int root, std::size_t limit) {
  std::vector<int> stack = tree.at(root);
  std::vector<int> result;
  while (!stack.empty()) {
    const int node = stack.back();
    stack.pop_back();
    if (result.size() == limit) break;
    result.push_back(node);
    const std::vector<int>& children = tree.at(node);
    stack.insert(stack.end(), children.begin(), children.end());
  }
  return result;
}

struct WaveReading {
  std::vector<int> order;
  std::set<int> asked;
  int waves = 0;
};

WaveReading readInWaves(const Tree& tree, int root, std::size_t limit) {
  Tree known;
  WaveReading reading;
  const auto knownChildren = [&known](int node) {
    const auto place = known.find(node);
    return place == known.end() ? std::vector<int>() : place->second;
  };
  while (true) {
    reading.order = boundedWalk(root, limit, knownChildren);
    std::vector<int> missing;
    if (!known.contains(root)) missing.push_back(root);
    std::ranges::copy_if(reading.order, std::back_inserter(missing), [&](int node) { return !known.contains(node); });
    if (missing.empty()) return reading;
    ++reading.waves;
    for (const int node : missing) {
      reading.asked.insert(node);
      known[node] = tree.at(node);
    }
  }
}

int depthOf(const Tree& tree, int root) {
  int deepest = 0;
  for (const int child : tree.at(root))
    deepest = std::max(deepest, 1 + depthOf(tree, child));
  return deepest;
}

TEST(AtspiWalk, visitsTheLastChildFirstAndNeverTheRoot) {
  const Tree tree{{0, {1, 2}}, {1, {}}, {2, {3}}, {3, {}}};
  const auto childrenOf = [&tree](int node) { return tree.at(node); };
  EXPECT_EQ(boundedWalk(0, 3, childrenOf), (std::vector<int>{2, 3, 1}));
  EXPECT_EQ(boundedWalk(0, 2, childrenOf), (std::vector<int>{2, 3}));
  EXPECT_EQ(boundedWalk(0, 0, childrenOf), std::vector<int>());
}

TEST(AtspiWalk, readInWavesItIsTheReadersWalkOnRandomTrees) {
  std::mt19937 random(20261121);
  for (int round = 0; round < 150; ++round) {
    const Tree tree = randomTree(random, 1 + 2 * round);
    for (const std::size_t limit :
         {std::size_t{0}, std::size_t{1}, std::size_t{7}, std::size_t{40}, std::size_t{120}}) {
      const WaveReading reading = readInWaves(tree, 0, limit);
      ASSERT_EQ(reading.order, readersWalk(tree, 0, limit)) << "round " << round << " limit " << limit;
      ASSERT_LE(reading.waves, depthOf(tree, 0) + 1);
    }
  }
}

TEST(AtspiWalk, aNodeBeyondTheLimitInTheKnownTreeIsNotAsked) {
  // 200 leaves beside each other: only the last ones can be within the limit.
  Tree tree{{0, {}}};
  for (int leaf = 1; leaf <= 200; ++leaf) {
    tree[0].push_back(leaf);
    tree[leaf];
  }
  const WaveReading reading = readInWaves(tree, 0, 80);
  EXPECT_EQ(reading.asked.size(), 81U);
  EXPECT_TRUE(reading.asked.contains(200));
  EXPECT_FALSE(reading.asked.contains(120));
}

TEST(AtspiWalk, aTreeThatBitesItsTailEndsAtTheLimit) {
  const auto childrenOf = [](int node) { return std::vector<int>{node}; };
  EXPECT_EQ(boundedWalk(0, 120, childrenOf).size(), 120U);
}

}  // namespace
}  // namespace tallyfox::linux_os
