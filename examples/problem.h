/* SPDX-License-Identifier: MIT */
/*
 * problem.h: how the examples report errors. A function returns null if all went well, else a
 * sentence that says what is wrong; main() prints it and ends with exit code 1.
 */
#ifndef EXAMPLES_PROBLEM_H
#define EXAMPLES_PROBLEM_H

#include <stddef.h>
#include <zepjp.h>

/* Positive values are warnings about finished work. */
static inline const char* problemOf(zepStatus status) {
  return status < 0 ? zepStatusName(status) : NULL;
}

#endif /* EXAMPLES_PROBLEM_H */
