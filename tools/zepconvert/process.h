// SPDX-License-Identifier: MIT
// What the program settles with the system at its start.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_PROCESS_H_
#define ZEPJP_TOOLS_ZEPCONVERT_PROCESS_H_

#include <atomic>

namespace zepconvert {

// Opens /dev/null for each of the descriptors 0 to 2 that is closed: the next file would get its
// number, and messages for standard error would go into a picture. False: that cannot be done.
bool ReserveStandardDescriptors();

// SIGINT, SIGTERM and SIGHUP set `stop`; a second one, and any other signal that ends a program,
// removes the temporary files first. A write beyond the limit of file sizes, or to a pipe that
// nobody reads, is an error of that write and no signal.
void HandleSignals(std::atomic<bool>* stop);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_PROCESS_H_
