// SPDX-License-Identifier: MIT
#include "codecs/support/lanes.h"

#include <algorithm>
#include <new>
#include <utility>

namespace zepcodec {

size_t Lanes::Add(int rank, size_t steps, std::function<Status(size_t)> work) {
  lanes_.push_back({rank, steps, std::move(work), {}});
  left_ += steps;
  return lanes_.size() - 1;
}

void Lanes::Wait(size_t lane, size_t other, std::function<size_t(size_t)> needs) {
  lanes_[lane].needs.push_back({other, std::move(needs)});
}

Status Lanes::Run(ThreadPool* pool) {
  Status status = pool->Run(lanes_.size(), [this] { Work(); });
  return status.ok() ? status_ : status;
}

void Lanes::Work() {
  std::unique_lock<std::mutex> lock(mutex_);
  while (left_ > 0 && !has_failed_) {
    Lane* const lane = FindReady();
    if (lane == nullptr) {
      changed_.wait(lock);
    } else {
      DoStep(lane, &lock);
    }
  }
}

void Lanes::DoStep(Lane* lane, std::unique_lock<std::mutex>* lock) {
  lane->is_running = true;
  lock->unlock();
  try {
    Status status = lane->work(lane->done);
    lock->lock();
    if (!status.ok() && !has_failed_) {
      has_failed_ = true;
      status_ = std::move(status);
    }
  } catch (const std::bad_alloc&) {
    lock->lock();
    has_failed_ = true;
    changed_.notify_all();
    throw;
  }
  lane->is_running = false;
  ++lane->done;
  --left_;
  changed_.notify_all();
}

Lanes::Lane* Lanes::FindReady() {
  Lane* best = nullptr;
  for (Lane& lane : lanes_) {
    const auto precedes = [&] {
      return best == nullptr || lane.rank < best->rank ||
             (lane.rank == best->rank && lane.done < best->done);
    };
    if (precedes() && IsReady(lane)) best = &lane;
  }
  return best;
}

bool Lanes::IsReady(const Lane& lane) const {
  return !lane.is_running && lane.done < lane.steps &&
         std::all_of(lane.needs.begin(), lane.needs.end(), [&](const Need& need) {
           return lanes_[need.lane].done >= need.steps(lane.done);
         });
}

}  // namespace zepcodec
