// SPDX-License-Identifier: MIT
// A file that gets its name when it is complete.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_TEMPORARY_FILE_H_
#define ZEPJP_TOOLS_ZEPCONVERT_TEMPORARY_FILE_H_

#include <string>

namespace zepconvert {

struct TemporarySlot;

// At most kMostAtOnce of them at the same time.
class TemporaryFile {
 public:
  static constexpr int kMostAtOnce = 1100;

  // In `directory`, whose name ends in a slash or is empty for the current one. Only its owner can
  // read it.
  explicit TemporaryFile(const std::string& directory);
  // Removes it unless it got its name.
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  // Negative: there is no file; errno says why.
  int descriptor() const { return descriptor_; }
  // Closes it and renames it. False: it is still a temporary file; errno says why (EEXIST: there is
  // a file of this name, which is not to be replaced).
  bool Finish(const std::string& path, bool replaces);

  // Removes the temporary files of all threads. Signal handlers may call it; no further file is
  // made then.
  static void RemoveAll();

 private:
  TemporarySlot* slot_;
  int descriptor_ = -1;
  bool exists_ = false;
};

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_TEMPORARY_FILE_H_
