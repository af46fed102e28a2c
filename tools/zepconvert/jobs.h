// SPDX-License-Identifier: MIT
// Which files are read and which are written.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_JOBS_H_
#define ZEPJP_TOOLS_ZEPCONVERT_JOBS_H_

#include <string>
#include <vector>

#include "tools/zepconvert/command_line.h"
#include "tools/zepconvert/settings.h"

namespace zepconvert {

// A file that was named, or found in a directory that was named.
struct Input {
  std::string path;
  std::string directory;  // below the named one, with a slash at the end; else empty
  bool was_found = false;
  std::string error;  // why it cannot be read
};

// All inputs, those of directories in the order of their names. Of directories only files count
// whose names end as known formats do. Nothing that begins with a dot is taken, and links to
// directories are not followed.
std::vector<Input> FindInputs(const Command& command);

// One job for each input. Files in directories that have the wanted format already get none.
// Results whose names would be equal keep the whole names of their inputs: x.jpg.png, x.tif.png.
std::vector<Job> MakeJobs(const Command& command);

// Decides about results that exist; on a terminal the user is asked. False: the user ends the
// program.
bool DecideReplacing(const Settings& settings, std::vector<Job>* jobs);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_JOBS_H_
