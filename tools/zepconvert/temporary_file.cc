// SPDX-License-Identifier: MIT
// The names stand in memory that is never freed, so that a signal handler can read them at any
// time. A slot is free, claimed (its name is being written) or armed (its name may be removed). The
// handler sets `dying` and then removes what is armed; a thread that claims a slot tests `dying`
// before it touches the name. In whatever order these meet, the handler never sees a name that
// changes.
#include "tools/zepconvert/temporary_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace zepconvert {
namespace {

enum State { kFree, kClaimed, kArmed };

std::atomic<bool> dying{false};

// Never made twice: a signal must not remove another program's file.
std::string RandomName() {
  std::array<uint32_t, 4> random{};
  if (getentropy(random.data(), sizeof(random)) != 0) return "";
  std::string name = ".zepconvert-";
  for (const uint32_t word : random) {
    char hex[12];
    std::snprintf(hex, sizeof(hex), "%08x", word);
    name += hex;
  }
  return name;
}

}  // namespace

struct TemporarySlot {
  std::atomic<int> state;
  char path[PATH_MAX];
};

namespace {

TemporarySlot slots[TemporaryFile::kMostAtOnce];

TemporarySlot* ClaimSlot() {
  for (TemporarySlot& slot : slots) {
    int expected = kFree;
    if (!slot.state.compare_exchange_strong(expected, kClaimed)) continue;
    if (!dying) return &slot;
    slot.state = kFree;
    return nullptr;
  }
  return nullptr;
}

// False: the name is too long, or there is none.
bool SetName(const std::string& path, TemporarySlot* slot) {
  if (path.empty() || path.size() >= sizeof(slot->path)) return false;
  std::memcpy(slot->path, path.c_str(), path.size() + 1);
  return true;
}

}  // namespace

TemporaryFile::TemporaryFile(const std::string& directory) : slot_(ClaimSlot()) {
  if (slot_ == nullptr) {
    errno = EMFILE;
    return;
  }
  const std::string name = RandomName();
  if (name.empty()) return;
  if (!SetName(directory + name, slot_)) {
    errno = ENAMETOOLONG;
    return;
  }
  slot_->state = kArmed;
  descriptor_ = open(slot_->path, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
  exists_ = descriptor_ >= 0;
}

TemporaryFile::~TemporaryFile() {
  if (slot_ == nullptr) return;
  if (exists_) unlink(slot_->path);
  if (descriptor_ >= 0) close(descriptor_);
  slot_->state = kFree;
}

bool TemporaryFile::Finish(const std::string& path, bool replaces) {
  const int number = descriptor_;
  descriptor_ = -1;
  // Some file systems tell of a failed write only when the file is closed.
  if (close(number) != 0) return false;
  if (!replaces) {
    // A link is never made over a file, unlike a new name. The destructor removes the old name.
    if (link(slot_->path, path.c_str()) == 0) return true;
    if (errno == EEXIST) return false;
    // File systems without links.
    if (access(path.c_str(), F_OK) == 0) {
      errno = EEXIST;
      return false;
    }
  }
  if (rename(slot_->path, path.c_str()) != 0) return false;
  exists_ = false;
  return true;
}

void TemporaryFile::RemoveAll() {
  dying = true;
  for (TemporarySlot& slot : slots) {
    if (slot.state == kArmed) unlink(slot.path);
  }
}

}  // namespace zepconvert
