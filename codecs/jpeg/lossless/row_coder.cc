// SPDX-License-Identifier: MIT
#include "codecs/jpeg/lossless/row_coder.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "codecs/jpeg/lossless/prediction.h"
#include "codecs/jpeg/markers/markers.h"

namespace zepcodec::jpeg::lossless {
namespace {

// Halves magnitudes; returns how many of them were not 0. In arithmetic of 16 bits without
// comparisons, which compilers turn into vectors.
uint16_t CountAndHalve(size_t count, uint16_t* magnitudes) {
  uint16_t found = 0;
  for (size_t i = 0; i < count; ++i) {
    const uint16_t magnitude = magnitudes[i];
    const uint16_t is_not_zero = static_cast<uint16_t>(magnitude + 0x7FFF) >> 15;  // up to 32768
    found = static_cast<uint16_t>(found + is_not_zero);
    magnitudes[i] = magnitude >> 1;
  }
  return found;
}

// Counts the magnitude categories of differences. The category is the number of times that the
// magnitude can be halved before it is 0.
void CountCategories(const Row& differences, Counts* counts) {
  constexpr size_t kMost = 4096;  // fewer than 2^16
  uint16_t magnitudes[kMost];
  for (size_t begin = 0; begin < differences.size(); begin += kMost) {
    const size_t count = std::min(kMost, differences.size() - begin);
    for (size_t i = 0; i < count; ++i) {
      const int16_t difference = differences[begin + i];
      const auto sign = static_cast<uint16_t>(difference >> 15);
      magnitudes[i] = static_cast<uint16_t>((static_cast<uint16_t>(difference) ^ sign) - sign);
    }
    for (size_t category = 0, left = count; left > 0; ++category) {
      const size_t higher = CountAndHalve(count, magnitudes);
      (*counts)[category] += static_cast<int64_t>(left - higher);
      left = higher;
    }
  }
}

}  // namespace

RowCoder::RowCoder(const Picture& form, const EncodeOptions& options)
    : form_(form), options_(options), components_(static_cast<size_t>(form.channels())) {
  for (size_t c = 0; c < components_; ++c) {
    for (Row* row : {&samples_[c], &above_[c], &differences_[c]}) {
      row->resize(static_cast<size_t>(form.width()));
    }
  }
}

void RowCoder::Begin(const RowBand& band) {
  zepiEncodeHuffmanStateInit_JPEG_8u(&state_);
  band_ = &band;
  y_ = band.y;
  if (!IsFirstRow(options_, y_)) Split(band.above, 0);
}

void RowCoder::Split(const Picture& rows, int y) {
  Row* samples[kMostComponents] = {};
  for (size_t c = 0; c < components_; ++c) samples[c] = &samples_[c];
  SplitRow(rows, y, options_.point_transform, samples);
}

// Computes the differences of the next row.
void RowCoder::Predict() {
  const Prediction prediction{options_.predictor, form_.bits(), options_.point_transform};
  for (size_t c = 0; c < components_; ++c) std::swap(samples_[c], above_[c]);
  Split(band_->rows, y_ - band_->y);
  for (size_t c = 0; c < components_; ++c) {
    if (IsFirstRow(options_, y_)) {
      SubtractFirstRow(prediction, samples_[c], &differences_[c]);
    } else {
      SubtractRow(prediction, samples_[c], above_[c], &differences_[c]);
    }
  }
  ++y_;
}

void RowCoder::Count(std::vector<Counts>* counts) {
  Predict();
  for (size_t c = 0; c < components_; ++c) {
    CountCategories(differences_[c], &(*counts)[std::min(c, counts->size() - 1)]);
  }
}

Status RowCoder::Code(const std::vector<Table>& tables, bool is_band, CodedBand* band) {
  if (y_ > 0 && IsFirstRow(options_, y_)) {
    if (Status status = Restart(is_band, band); !status.ok()) return status;
  }
  Predict();
  return CodeRow(&tables, &band->bytes);
}

// The bits before the first marker of a band are padded when it is joined.
Status RowCoder::Restart(bool is_band, CodedBand* band) {
  if (is_band && !band->has_restart) {
    band->head_size = band->bytes.size();
    band->head = OpenBitsOf(state_);
    zepiEncodeHuffmanStateInit_JPEG_8u(&state_);
  } else if (Status status = Finish(&band->bytes); !status.ok()) {
    return status;
  }
  band->has_restart = true;
  const int number = y_ / options_.restart_rows - 1;
  const uint8_t marker[2] = {0xFF, static_cast<uint8_t>(kRst0 + number % 8)};
  return band->bytes.Append(marker, sizeof(marker)) ? Status() : Status::NoMemory();
}

void RowCoder::Describe(CodedBand* band) const {
  if (band->has_restart) {
    band->tail = OpenBitsOf(state_);
  } else {
    band->head_size = band->bytes.size();
    band->head = OpenBitsOf(state_);
  }
}

// Codes the differences of a row; without tables, flushes the remaining bits.
Status RowCoder::CodeRow(const std::vector<Table>* tables, ByteBuffer* bytes) {
  const int16_t* rows[kMostComponents] = {};
  const zepiEncodeHuffmanSpec* specs[kMostComponents] = {};
  for (size_t c = 0; tables != nullptr && c < components_; ++c) {
    rows[c] = differences_[c].data();
    specs[c] = &(*tables)[std::min(c, tables->size() - 1)].spec;
  }
  // A difference takes at most 31 bits, code and extra bits together, and each byte may be stuffed.
  const size_t room = 8 * (form_.SamplesInRow() + 2);
  const size_t start = bytes->size();
  if (!bytes->MakeRoom(room) || !bytes->Resize(start + room)) return Status::NoMemory();
  int32_t written = 0;
  const zepStatus status = zepiEncodeHuffmanRow_JPEG_16s1u_P4C1(
      rows, bytes->data() + start, static_cast<int32_t>(room), &written, form_.width(),
      static_cast<int32_t>(components_), specs, &state_, tables == nullptr ? 1 : 0);
  if (!bytes->Resize(start + static_cast<size_t>(written))) return Status::NoMemory();
  return status == zepStatusOk ? Status() : Status::Error(zepStatusName(status));
}

}  // namespace zepcodec::jpeg::lossless
