// SPDX-License-Identifier: MIT
// How functions of the tool fail: by an exception that ends the work on one file.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_FAILURE_H_
#define ZEPJP_TOOLS_ZEPCONVERT_FAILURE_H_

#include <stdexcept>

namespace zepconvert {

// Its text is a sentence for the user.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_FAILURE_H_
