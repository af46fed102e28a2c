// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <climits>
#include <vector>

#include "harness/check_order.h"
#include "harness/difference.h"
#include "jpeg/huffman/progressive_cases.h"
#include "reference/progressive_encoder.h"

namespace {

using harness::CheckOrder;
using harness::Random;
using huffman_cases::Band;
using huffman_cases::Block;
using huffman_cases::Case;
using huffman_cases::Outcome;
using huffman_cases::RandomBand;

// Counts of all symbols of a scan, and after the flush.
TEST(HuffmanStatistics, EqualModel) {
  Random random(harness::Seed());
  for (int trial = 0; trial < 400; ++trial) {
    const Case c(random);
    const Band band = RandomBand(random);
    std::vector<int32_t> got[5], want[5];
    for (auto& counts : got) {
      counts.assign(256, 0);
      if (random() % 4 == 0)
        counts[random() % 256] = INT32_MAX - static_cast<int32_t>(random() % 3);
    }
    for (int i = 0; i < 5; ++i) want[i] = got[i];
    Outcome ours[4], models[4];
    for (size_t i = 0; i <= c.blocks.size(); ++i) {
      const int16_t* block = i < c.blocks.size() ? c.blocks[i].data() : nullptr;
      const auto count = [&](bool is_export, std::vector<int32_t>* counts, Outcome* at) {
        const int32_t flush = block == nullptr ? 1 : 0;
        at[2].status =
            HUFFMAN_CALL(is_export, zepiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1, block,
                         counts[2].data(), band.first, band.last, band.shift, &at[2].state, flush);
        at[3].status =
            HUFFMAN_CALL(is_export, zepiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1, block,
                         counts[3].data(), band.first, band.last, band.shift, &at[3].state, flush);
        if (block == nullptr) return;
        at[0].status = HUFFMAN_CALL(is_export, zepiGetHuffmanStatistics8x8_JPEG_16s_C1, block,
                                    counts[0].data(), counts[1].data(), &at[0].last_dc);
        at[1].status = HUFFMAN_CALL(is_export, zepiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1,
                                    block, counts[4].data(), &at[1].last_dc, band.shift);
        HUFFMAN_CALL(is_export, zepiGetHuffmanStatisticsOne_JPEG_16s_C1, block, counts[4].data());
      };
      count(true, got, ours);
      count(false, want, models);
      for (int k = 0; k < 4; ++k) {
        models[k].state.numCorrectionBits =
            std::min(models[k].state.numCorrectionBits, uint32_t{1024});
        ASSERT_EQ(ours[k].status, models[k].status) << "kind " << k << " seed " << harness::Seed();
        ASSERT_EQ(ours[k].last_dc, models[k].last_dc);
        ASSERT_EQ(ours[k].state.eobRun, models[k].state.eobRun);
        ASSERT_EQ(ours[k].state.numCorrectionBits, models[k].state.numCorrectionBits);
      }
      for (int k = 0; k < 5; ++k)
        ASSERT_EQ(harness::FirstDifference(got[k], want[k]), "")
            << "kind " << k << " seed " << harness::Seed();
    }
  }
}

TEST(HuffmanStatistics, ChecksInOrder) {
  const Block block = {};
  int32_t dc[256] = {}, ac[256] = {};
  int16_t last_dc = 0;
  zepiEncodeHuffmanState state = {};
  const auto band = [&](auto exported) {
    CheckOrder(exported, block.data(), &ac[0], 1, 63, 0, &state, 0)
        .template Null<1>()
        .template Null<5>()
        .template Null<0>()
        .template Bad<2>(zepStatusOutOfRange, {0, 64})
        .template Bad<3>(zepStatusOutOfRange, {0, 64})
        .template Bad<4>(zepStatusOutOfRange, {-1, 14})
        .Output(ac, sizeof(ac))
        .Output(&state, sizeof(state))
        .Run();
  };
  band(HARNESS_NAMED(zepiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1));
  band(HARNESS_NAMED(zepiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1));
  CheckOrder(HARNESS_NAMED(zepiGetHuffmanStatistics8x8_JPEG_16s_C1), block.data(), &dc[0], &ac[0],
             &last_dc)
      .Null<0>()
      .Null<1>()
      .Null<2>()
      .Null<3>()
      .Output(dc, sizeof(dc))
      .Output(ac, sizeof(ac))
      .Run();
  CheckOrder(HARNESS_NAMED(zepiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1), block.data(), &dc[0],
             &last_dc, 0)
      .Null<0>()
      .Null<1>()
      .Null<2>()
      .Bad<3>(zepStatusOutOfRange, {-1, 14})
      .Output(dc, sizeof(dc))
      .Run();
  CheckOrder(HARNESS_NAMED(zepiGetHuffmanStatisticsOne_JPEG_16s_C1), block.data(), &dc[0])
      .Null<0>()
      .Null<1>()
      .Output(dc, sizeof(dc))
      .Run();
}

}  // namespace
