// SPDX-License-Identifier: MIT
// The encoder of stb_dxt, compiled in place: its header has warnings that the project's own code
// must not have.
#ifndef ZEPJP_BENCH_RIVAL_STB_H_
#define ZEPJP_BENCH_RIVAL_STB_H_

#define STB_DXT_IMPLEMENTATION
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wshadow"
#pragma GCC diagnostic ignored "-Wunused-function"
#include <stb/stb_dxt.h>
#pragma GCC diagnostic pop

#endif  // ZEPJP_BENCH_RIVAL_STB_H_
