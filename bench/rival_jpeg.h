// SPDX-License-Identifier: MIT
// Kernels of libjpeg-turbo, which its static library offers as symbols: those for AVX2, or those
// for SSE2 if JSIMD_FORCESSE2 is set, the library's own environment variable for that.
#ifndef ZEPJP_BENCH_RIVAL_JPEG_H_
#define ZEPJP_BENCH_RIVAL_JPEG_H_

#include <cstdint>
#include <cstdlib>

using RivalRows = uint8_t**;
using RivalPlanes = uint8_t***;

extern "C" {
using ToPlanes = void(unsigned width, RivalRows input, RivalPlanes output, unsigned output_row,
                      int rows);
ToPlanes jsimd_rgb_ycc_convert_avx2, jsimd_rgb_ycc_convert_sse2;
ToPlanes jsimd_extrgbx_ycc_convert_avx2, jsimd_extrgbx_ycc_convert_sse2;
ToPlanes jsimd_rgb_gray_convert_avx2, jsimd_rgb_gray_convert_sse2;

using ToPixels = void(unsigned width, RivalPlanes input, unsigned input_row, RivalRows output,
                      int rows);
ToPixels jsimd_ycc_rgb_convert_avx2, jsimd_ycc_rgb_convert_sse2;
ToPixels jsimd_ycc_extrgbx_convert_avx2, jsimd_ycc_extrgbx_convert_sse2;

// Two rows of pixels (h2v2) or one (h2v1) of row `row_group` of the planes.
using MergedUpsample = void(unsigned width, RivalPlanes input, unsigned row_group,
                            RivalRows output);
MergedUpsample jsimd_h2v1_merged_upsample_avx2, jsimd_h2v1_merged_upsample_sse2;
MergedUpsample jsimd_h2v2_merged_upsample_avx2, jsimd_h2v2_merged_upsample_sse2;
MergedUpsample jsimd_h2v1_extrgbx_merged_upsample_avx2, jsimd_h2v1_extrgbx_merged_upsample_sse2;
MergedUpsample jsimd_h2v2_extrgbx_merged_upsample_avx2, jsimd_h2v2_extrgbx_merged_upsample_sse2;

using Downsample = void(unsigned image_width, int max_v_samp_factor, unsigned v_samp_factor,
                        unsigned width_in_blocks, RivalRows input, RivalRows output);
Downsample jsimd_h2v1_downsample_avx2, jsimd_h2v1_downsample_sse2;
Downsample jsimd_h2v2_downsample_avx2, jsimd_h2v2_downsample_sse2;

using FancyUpsample = void(int max_v_samp_factor, unsigned width, RivalRows input,
                           RivalRows* output);
FancyUpsample jsimd_h2v1_fancy_upsample_avx2, jsimd_h2v1_fancy_upsample_sse2;
FancyUpsample jsimd_h2v2_fancy_upsample_avx2, jsimd_h2v2_fancy_upsample_sse2;

// Eight rows of eight samples minus 128.
using ConvertSamples = void(RivalRows samples, unsigned first_column, int16_t* block);
ConvertSamples jsimd_convsamp_avx2, jsimd_convsamp_sse2;
using ForwardDct = void(int16_t* block);
ForwardDct jsimd_fdct_islow_avx2, jsimd_fdct_islow_sse2;
using Quantize = void(int16_t* coefficients, int16_t* divisors, int16_t* workspace);
Quantize jsimd_quantize_avx2, jsimd_quantize_sse2;
using InverseDct = void(void* table, int16_t* block, RivalRows output, unsigned column);
InverseDct jsimd_idct_islow_avx2, jsimd_idct_islow_sse2;
InverseDct jsimd_idct_4x4_sse2, jsimd_idct_2x2_sse2;
}

namespace rival {

template <class Kernel>
Kernel* Choose(Kernel* avx2, Kernel* sse2) {
  return std::getenv("JSIMD_FORCESSE2") != nullptr ? sse2 : avx2;
}

inline ToPlanes* const rgb_to_ycc = Choose(jsimd_rgb_ycc_convert_avx2, jsimd_rgb_ycc_convert_sse2);
inline ToPlanes* const rgbx_to_ycc =
    Choose(jsimd_extrgbx_ycc_convert_avx2, jsimd_extrgbx_ycc_convert_sse2);
inline ToPlanes* const rgb_to_gray =
    Choose(jsimd_rgb_gray_convert_avx2, jsimd_rgb_gray_convert_sse2);
inline ToPixels* const ycc_to_rgb = Choose(jsimd_ycc_rgb_convert_avx2, jsimd_ycc_rgb_convert_sse2);
inline ToPixels* const ycc_to_rgbx =
    Choose(jsimd_ycc_extrgbx_convert_avx2, jsimd_ycc_extrgbx_convert_sse2);
inline MergedUpsample* const h2v1_to_rgb =
    Choose(jsimd_h2v1_merged_upsample_avx2, jsimd_h2v1_merged_upsample_sse2);
inline MergedUpsample* const h2v2_to_rgb =
    Choose(jsimd_h2v2_merged_upsample_avx2, jsimd_h2v2_merged_upsample_sse2);
inline MergedUpsample* const h2v1_to_rgbx =
    Choose(jsimd_h2v1_extrgbx_merged_upsample_avx2, jsimd_h2v1_extrgbx_merged_upsample_sse2);
inline MergedUpsample* const h2v2_to_rgbx =
    Choose(jsimd_h2v2_extrgbx_merged_upsample_avx2, jsimd_h2v2_extrgbx_merged_upsample_sse2);
inline Downsample* const h2v1_downsample =
    Choose(jsimd_h2v1_downsample_avx2, jsimd_h2v1_downsample_sse2);
inline Downsample* const h2v2_downsample =
    Choose(jsimd_h2v2_downsample_avx2, jsimd_h2v2_downsample_sse2);
inline FancyUpsample* const h2v1_fancy_upsample =
    Choose(jsimd_h2v1_fancy_upsample_avx2, jsimd_h2v1_fancy_upsample_sse2);
inline FancyUpsample* const h2v2_fancy_upsample =
    Choose(jsimd_h2v2_fancy_upsample_avx2, jsimd_h2v2_fancy_upsample_sse2);
inline ConvertSamples* const convert_samples = Choose(jsimd_convsamp_avx2, jsimd_convsamp_sse2);
inline ForwardDct* const forward_dct = Choose(jsimd_fdct_islow_avx2, jsimd_fdct_islow_sse2);
inline Quantize* const quantize = Choose(jsimd_quantize_avx2, jsimd_quantize_sse2);
inline InverseDct* const inverse_dct = Choose(jsimd_idct_islow_avx2, jsimd_idct_islow_sse2);

}  // namespace rival

#endif  // ZEPJP_BENCH_RIVAL_JPEG_H_
