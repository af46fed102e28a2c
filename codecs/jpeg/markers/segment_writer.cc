// SPDX-License-Identifier: MIT
#include "codecs/jpeg/markers/segment_writer.h"

#include <algorithm>

#include "codecs/jpeg/markers/markers.h"
#include "codecs/support/byte_order.h"

namespace zepcodec::jpeg {

void SegmentWriter::Bytes(const uint8_t* bytes, size_t count) {
  ok_ = ok_ && file_->Append(bytes, count);
}

void SegmentWriter::Number(int value, size_t bytes) {
  uint8_t stored[4];
  StoreNumber(ByteOrder::kBig, static_cast<uint64_t>(value), bytes, stored);
  Bytes(stored, bytes);
}

void SegmentWriter::Marker(int marker) {
  Byte(0xFF);
  Byte(marker);
}

void SegmentWriter::Begin(int marker, size_t content_size) {
  Marker(marker);
  Word(static_cast<int>(content_size + 2));
}

void SegmentWriter::Jfif(const Density& density) {
  Begin(kApp0, 14);
  Bytes(reinterpret_cast<const uint8_t*>("JFIF"), 5);
  Word(0x0101);  // version
  Byte(density.unit);
  Word(density.x);
  Word(density.y);
  Word(0);  // no thumbnail
}

void SegmentWriter::Adobe(int transform) {
  Begin(kApp14, 12);
  Bytes(reinterpret_cast<const uint8_t*>("Adobe"), 5);
  Word(100);  // version
  Word(0);    // flags
  Word(0);
  Byte(transform);
}

void SegmentWriter::Saved(const Segment& segment) {
  Begin(segment.marker, segment.data.size());
  Bytes(segment.data.data(), segment.data.size());
}

void SegmentWriter::Quantization(int slot, const uint8_t* steps) {
  Begin(kDqt, 65);
  Byte(slot);
  Bytes(steps, 64);
}

void SegmentWriter::Quantization(int slot, const std::array<uint16_t, 64>& steps) {
  const bool is_wide = *std::max_element(steps.begin(), steps.end()) > 255;
  Begin(kDqt, is_wide ? 129 : 65);
  Byte(is_wide ? 1 << 4 | slot : slot);
  for (const uint8_t place : kZigzag) {
    if (is_wide) {
      Word(steps[place]);
    } else {
      Byte(steps[place]);
    }
  }
}

void SegmentWriter::FrameHeader(int marker, const Frame& frame) {
  Begin(marker, 6 + 3 * frame.components.size());
  Byte(frame.precision);
  Word(frame.height);
  Word(frame.width);
  Byte(static_cast<int>(frame.components.size()));
  for (const FrameComponent& component : frame.components) {
    Byte(component.id);
    Byte(component.h << 4 | component.v);
    Byte(component.quant_table);
  }
}

void SegmentWriter::Huffman(int kind, int slot, const HuffmanList& list) {
  const size_t count = static_cast<size_t>(list.symbol_count);
  Begin(kDht, 17 + count);
  Byte(kind << 4 | slot);
  Bytes(list.bits.data(), list.bits.size());
  Bytes(list.symbols, count);
}

void SegmentWriter::RestartInterval(int mcus) {
  Begin(kDri, 2);
  Word(mcus);
}

void SegmentWriter::ScanHeader(const Frame& frame, const Scan& scan) {
  Begin(kSos, 4 + 2 * scan.components.size());
  Byte(static_cast<int>(scan.components.size()));
  for (const ScanComponent& part : scan.components) {
    Byte(frame.components[static_cast<size_t>(part.index)].id);
    Byte(part.dc_table << 4 | part.ac_table);
  }
  Byte(scan.first);
  Byte(scan.last);
  Byte(scan.high << 4 | scan.low);
}

}  // namespace zepcodec::jpeg
