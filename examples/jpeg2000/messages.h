// SPDX-License-Identifier: MIT
// What a decoder found wrong, under the name that this codec has for it.
#ifndef ZEPJP_EXAMPLES_JPEG2000_MESSAGES_H_
#define ZEPJP_EXAMPLES_JPEG2000_MESSAGES_H_

#include "common/messages.h"

namespace jpeg2000 {

using common::Messages;

}  // namespace jpeg2000

#endif  // ZEPJP_EXAMPLES_JPEG2000_MESSAGES_H_
