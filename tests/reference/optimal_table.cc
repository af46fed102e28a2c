// SPDX-License-Identifier: MIT
// By the coins of the coin collector's problem: each symbol has one for each length, of its weight and of value
// 2^-length, and the cheapest ones that together make n - 1 are paid.
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
