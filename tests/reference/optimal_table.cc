// SPDX-License-Identifier: MIT
// Solves the coin collector's problem: each symbol has one coin for each length, which costs its
// weight and has the value 2^-length; the cheapest coins with a total value of n - 1 are selected.
#include "reference/optimal_table.h"

#include <algorithm>
#include <vector>

namespace reference {

int64_t LeastCodeLength(const int32_t* statistics) {
  std::vector<int64_t> weights = {0};
  for (int i = 0; i < 256; ++i) {
    if (statistics[i] > 0) weights.push_back(statistics[i]);
  }
  if (weights.size() == 1) return 0;
  std::vector<int64_t> coins;
  for (int length = 16; length >= 1; --length) {
    std::vector<int64_t> pairs;
    for (size_t i = 0; i + 1 < coins.size(); i += 2) pairs.push_back(coins[i] + coins[i + 1]);
    coins = weights;
    coins.insert(coins.end(), pairs.begin(), pairs.end());
    std::sort(coins.begin(), coins.end());
  }
  int64_t sum = 0;
  for (size_t i = 0; i < 2 * weights.size() - 2; ++i) sum += coins[i];
  return sum;
}

}  // namespace reference
