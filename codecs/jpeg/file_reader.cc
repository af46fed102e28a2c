// SPDX-License-Identifier: MIT
#include "codecs/jpeg/file_reader.h"

#include <algorithm>
#include <string>

namespace zepcodec::jpeg {
namespace {

// The rules of libjpeg: a JFIF header means YCbCr even if an Adobe header says otherwise; an Adobe
// header with an unknown transform counts as one with the usual transform. Of two components
// nothing tells the meaning: the first one is the picture.
ColorModel FindColorModel(const MarkerReader& reader) {
  const std::vector<FrameComponent>& components = reader.frame().components;
  const int transform = reader.adobe_transform();
  if (components.size() <= 2) return ColorModel::kGrey;
  if (components.size() == 4) return transform > 0 ? ColorModel::kYcck : ColorModel::kCmyk;
  if (reader.has_jfif()) return ColorModel::kYCbCr;
  if (transform >= 0) return transform == 0 ? ColorModel::kRgb : ColorModel::kYCbCr;
  const bool named_rgb =
      components[0].id == 'R' && components[1].id == 'G' && components[2].id == 'B';
  return named_rgb ? ColorModel::kRgb : ColorModel::kYCbCr;
}

Status LossyOnly() { return Status::Error("a lossless JPEG file has no coefficients"); }

}  // namespace

int64_t BlockCount(const Geometry& geometry) {
  int64_t blocks = 0;
  for (const ComponentGeometry& place : geometry.components) {
    blocks += int64_t{place.blocks_per_row} * place.block_rows;
  }
  return blocks;
}

bool HasTables(const MarkerReader& reader, const ScanComponent& part) {
  const Tables& tables = reader.tables();
  const Scan& scan = reader.scan();
  const int quant = reader.frame().components[static_cast<size_t>(part.index)].quant_table;
  const bool uses_dc = scan.first == 0 && scan.high == 0;
  const bool uses_ac = scan.last > 0;
  return tables.has_quant[quant] && (!uses_dc || tables.has_dc[part.dc_table]) &&
         (!uses_ac || tables.has_ac[part.ac_table]);
}

Status MissingTables() {
  return Status::Error("a scan without its quantization or Huffman tables");
}

bool EndsAll(const Status& status) {
  return status.kind() == Status::Kind::kCancelled || status.kind() == Status::Kind::kNoMemory ||
         status.kind() == Status::Kind::kWriteFailed;
}

Status FileReader::ReadHeaders() {
  for (Event event = Event::kFrame; event != Event::kScan;) {
    Status status = headers.Next(&event);
    if (event == Event::kEnd) status = Status::Error("the file has no picture in it");
    FillInfo();
    if (!status.ok()) return headers.AtMarker(status);
    if (event == Event::kFrame) {
      if (info->frame.is_lossless) return headers.AtMarker(LossyOnly());
      if (Status bad = CheckSize(); !bad.ok()) return bad;
    }
  }
  info->has_single_scan = ScanHasAllComponents();
  is_decoded.assign(info->frame.components.size(), false);
  return Status();
}

void FileReader::FillInfo() {
  info->frame = headers.frame();
  if (!info->frame.components.empty()) info->model = FindColorModel(headers);
  info->restart_interval = headers.restart_interval();
  info->adobe_transform = headers.adobe_transform();
  info->has_jfif = headers.has_jfif();
  info->metadata = headers.metadata();
}

Status FileReader::CheckSize() const {
  const Frame& frame = headers.frame();
  const std::string claim = "the header announces " + std::to_string(frame.width) + " x " +
                            std::to_string(frame.height) + " pixels";
  if (int64_t{frame.width} * frame.height > options.max_pixels) {
    return Status::TooLarge(claim + ", more than the limit of " +
                            std::to_string(options.max_pixels));
  }
  const int64_t blocks = BlockCount(Geometry(frame, 1));
  const int64_t bytes = static_cast<int64_t>(size - headers.position());
  const int64_t least =
      blocks / (frame.is_progressive ? kProgressiveBlocksInAByte : kBlocksInAByte);
  if (blocks <= kAlwaysAcceptedBlocks || least <= bytes) return Status();
  return Status::Error(claim + ", which take at least " + std::to_string(least) + " bytes; only " +
                       std::to_string(bytes) + " follow");
}

bool FileReader::ScanHasAllComponents() const {
  return headers.scan().components.size() == headers.frame().components.size();
}

bool FileReader::HasNoScanYet() const {
  return std::none_of(is_decoded.begin(), is_decoded.end(), [](bool b) { return b; });
}

void FileReader::SetDecoded() {
  for (const ScanComponent& part : headers.scan().components) {
    is_decoded[static_cast<size_t>(part.index)] = true;
  }
}

bool FileReader::NextScan() {
  Event event = Event::kEnd;
  const Status status = headers.Next(&event);
  if (!status.ok()) {
    info->messages.AddAt(headers.marker_offset(), status.text());
    return false;
  }
  if (event != Event::kScan) return false;
  if (headers.frame().is_progressive) return true;
  for (const ScanComponent& part : headers.scan().components) {
    if (!is_decoded[static_cast<size_t>(part.index)]) continue;
    info->messages.AddAt(headers.position(), "a second scan of the same component, ignored");
    return false;
  }
  return true;
}

void FileReader::Finish() {
  for (size_t i = 0; i < is_decoded.size(); ++i) {
    if (is_decoded[i]) continue;
    info->messages.AddAt(headers.position(), "component " + std::to_string(i) + " has no scan");
  }
  FillInfo();
}

}  // namespace zepcodec::jpeg
