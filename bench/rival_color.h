// SPDX-License-Identifier: MIT
// Colour and sampling kernels of libjpeg-turbo, which its static library offers as symbols.
#ifndef ZEPJP_BENCH_RIVAL_COLOR_H_
#define ZEPJP_BENCH_RIVAL_COLOR_H_

#include <cstdint>

extern "C" {
using RivalRows = uint8_t**;
using RivalPlanes = uint8_t***;

void jsimd_rgb_ycc_convert_avx2(unsigned width, RivalRows input, RivalPlanes output,
                                unsigned output_row, int rows);
void jsimd_extrgbx_ycc_convert_avx2(unsigned width, RivalRows input, RivalPlanes output,
                                    unsigned output_row, int rows);
void jsimd_rgb_gray_convert_avx2(unsigned width, RivalRows input, RivalPlanes output,
                                 unsigned output_row, int rows);
void jsimd_ycc_rgb_convert_avx2(unsigned width, RivalPlanes input, unsigned input_row,
                                RivalRows output, int rows);
// Two rows of pixels (h2v2) or one (h2v1) of row `row_group` of the planes.
void jsimd_h2v1_merged_upsample_avx2(unsigned width, RivalPlanes input, unsigned row_group,
                                     RivalRows output);
void jsimd_h2v2_merged_upsample_avx2(unsigned width, RivalPlanes input, unsigned row_group,
                                     RivalRows output);
void jsimd_h2v1_extrgbx_merged_upsample_avx2(unsigned width, RivalPlanes input, unsigned row_group,
                                             RivalRows output);
void jsimd_h2v2_extrgbx_merged_upsample_avx2(unsigned width, RivalPlanes input, unsigned row_group,
                                             RivalRows output);
void jsimd_ycc_extrgbx_convert_avx2(unsigned width, RivalPlanes input, unsigned input_row,
                                    RivalRows output, int rows);
// Eight rows of eight samples minus 128.
void jsimd_convsamp_avx2(RivalRows samples, unsigned first_column, int16_t* block);
void jsimd_h2v1_downsample_avx2(unsigned image_width, int max_v_samp_factor, unsigned v_samp_factor,
                                unsigned width_in_blocks, RivalRows input, RivalRows output);
void jsimd_h2v2_downsample_avx2(unsigned image_width, int max_v_samp_factor, unsigned v_samp_factor,
                                unsigned width_in_blocks, RivalRows input, RivalRows output);
void jsimd_h2v1_fancy_upsample_avx2(int max_v_samp_factor, unsigned width, RivalRows input,
                                    RivalRows* output);
void jsimd_h2v2_fancy_upsample_avx2(int max_v_samp_factor, unsigned width, RivalRows input,
                                    RivalRows* output);
}

#endif  // ZEPJP_BENCH_RIVAL_COLOR_H_
