// SPDX-License-Identifier: MIT
#include "jpeg/decoder.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <utility>

#include "jpeg/geometry.h"
#include "jpeg/marker_reader.h"
#include "jpeg/plane.h"
#include "jpeg/scan_decoder.h"

namespace jpeg {
namespace {

ColorModel FindColorModel(const MarkerReader& reader) {
  const std::vector<FrameComponent>& components = reader.frame().components;
  const int transform = reader.adobe_transform();
  if (components.size() == 1) return ColorModel::kGrey;
  if (components.size() == 4) return transform == 2 ? ColorModel::kYcck : ColorModel::kCmyk;
  if (transform >= 0) return transform == 0 ? ColorModel::kRgb : ColorModel::kYCbCr;
  const bool named_rgb =
      components[0].id == 'R' && components[1].id == 'G' && components[2].id == 'B';
  return named_rgb && !reader.has_jfif() ? ColorModel::kRgb : ColorModel::kYCbCr;
}

// One file on its way to a picture or to planes.
class FileDecoder {
 public:
  FileDecoder(const uint8_t* data, size_t size, const DecodeOptions& options, FileInfo* info)
      : data_(data),
        size_(size),
        options_(options),
        info_(info),
        reader_(data, size, &info->messages) {}

  // Reads up to the first scan.
  Status ReadHeaders();
  Status DecodePicture(Image* image);
  Status DecodePlanes();
  const Geometry& geometry() const { return *geometry_; }
  const std::vector<Plane>& planes() const { return planes_; }

 private:
  Status CheckSize() const;
  bool ScanHasAllComponents() const;
  Status MakeLayout(ScanLayout* layout);
  Status DecodeRowByRow(PictureWriter* writer);
  Status DecodeScanToPlanes();
  bool NextScan();
  // The error with its place.
  Status AtMarker(const Status& status) const {
    const std::string offset = std::to_string(reader_.marker_offset());
    return Status::Error("byte " + offset + ": " + status.text());
  }
  void ReportMissing();
  void FillInfo();

  const uint8_t* data_;
  size_t size_;
  const DecodeOptions& options_;
  FileInfo* info_;
  MarkerReader reader_;
  std::unique_ptr<Geometry> geometry_;
  std::vector<Plane> planes_;
  std::vector<bool> decoded_;  // components that had their scan
};

Status FileDecoder::ReadHeaders() {
  for (Event event = Event::kFrame; event != Event::kScan;) {
    Status status = reader_.Next(&event);
    if (event == Event::kEnd) status = Status::Error("the file has no picture in it");
    FillInfo();
    if (!status.ok()) return AtMarker(status);
    if (event == Event::kFrame) {
      if (Status bad = CheckSize(); !bad.ok()) return bad;
    }
  }
  return Status();
}

void FileDecoder::FillInfo() {
  info_->frame = reader_.frame();
  if (!info_->frame.components.empty()) info_->model = FindColorModel(reader_);
  info_->restart_interval = reader_.restart_interval();
  info_->metadata = reader_.metadata();
}

Status FileDecoder::CheckSize() const {
  const Frame& frame = reader_.frame();
  const std::string claim = "the header announces " + std::to_string(frame.width) + " x " +
                            std::to_string(frame.height) + " pixels";
  if (int64_t{frame.width} * frame.height > options_.max_pixels) {
    return Status::Error(claim + ", more than the limit of " + std::to_string(options_.max_pixels));
  }
  int64_t blocks = 0;
  for (const ComponentGeometry& place : Geometry(frame, 1).components) {
    blocks += int64_t{place.blocks_per_row} * place.block_rows;
  }
  const int64_t bytes = static_cast<int64_t>(size_ - reader_.position());
  if (blocks <= kAlwaysAcceptedBlocks || blocks / kBlocksInAByte <= bytes) return Status();
  return Status::Error(claim + ", which take at least " + std::to_string(blocks / kBlocksInAByte) +
                       " bytes; only " + std::to_string(bytes) + " follow");
}

bool FileDecoder::ScanHasAllComponents() const {
  return reader_.scan().size() == reader_.frame().components.size();
}

Status FileDecoder::MakeLayout(ScanLayout* layout) {
  const Tables& tables = reader_.tables();
  const Scan& scan = reader_.scan();
  const bool alone = scan.size() == 1;
  layout->restart_interval = reader_.restart_interval();
  layout->mcus_per_row = geometry_->mcus_per_row;
  layout->mcu_rows = geometry_->mcu_rows;
  for (const ScanComponent& part : scan) {
    const size_t index = static_cast<size_t>(part.index);
    const ComponentGeometry& place = geometry_->components[index];
    const int quant = reader_.frame().components[index].quant_table;
    if (!tables.has_quant[quant] || !tables.has_dc[part.dc_table] ||
        !tables.has_ac[part.ac_table]) {
      return Status::Error("a scan without its quantization or Huffman tables");
    }
    ScanPart out{&planes_[index],
                 place.block_size,
                 alone ? 1 : place.h,
                 alone ? 1 : place.v,
                 &tables.dc[part.dc_table],
                 &tables.ac[part.ac_table],
                 {}};
    std::memcpy(out.steps, tables.quant[quant], sizeof(out.steps));
    layout->parts.push_back(out);
    if (alone) {
      layout->mcus_per_row = place.blocks_per_row;
      layout->mcu_rows = place.block_rows;
    }
  }
  return Status();
}

Status FileDecoder::DecodePicture(Image* image) {
  geometry_ = std::make_unique<Geometry>(reader_.frame(), options_.scale);
  planes_ = std::vector<Plane>(geometry_->components.size());
  const bool inverted =
      LayoutOf(info_->model) == PixelLayout::kCmyk && reader_.adobe_transform() >= 0;
  PictureWriter writer(info_->model, inverted, image);
  if (!writer.Init(*geometry_, planes_)) return Status::NoMemory();
  if (ScanHasAllComponents()) return DecodeRowByRow(&writer);
  if (Status status = DecodePlanes(); !status.ok()) return status;
  StageClock clock(options_.times);
  const int height = geometry_->height;
  int done = 0;
  for (int row = 0; row < geometry_->mcu_rows; ++row) {
    const int bottom = std::min((row + 1) * geometry_->McuHeight(), height);
    const int last = bottom == height ? height : bottom - 1;
    writer.Write(done, last);
    done = last;
  }
  clock.Lap(&StageTimes::color);
  return Status();
}

// The way of almost every file: rows of MCUs become rows of the picture at once. The last row of
// each waits, because up-sampling looks at the one below.
Status FileDecoder::DecodeRowByRow(PictureWriter* writer) {
  for (size_t i = 0; i < planes_.size(); ++i) {
    if (!planes_[i].AllocateWindow(*geometry_, geometry_->components[i])) {
      return Status::NoMemory();
    }
  }
  ScanLayout layout;
  if (Status status = MakeLayout(&layout); !status.ok()) return AtMarker(status);
  ScanDecoder scan(data_, size_, reader_.position(), layout, &info_->messages, options_.times);
  int done = 0;
  for (int row = 0; row < layout.mcu_rows; ++row) {
    scan.DecodeRow();
    StageClock clock(options_.times);
    const int bottom = (row + 1) * geometry_->McuHeight();
    const int last = row + 1 == layout.mcu_rows ? geometry_->height : bottom - 1;
    writer->Write(done, last);
    done = last;
    for (Plane& plane : planes_) plane.Slide();
    clock.Lap(&StageTimes::color);
  }
  reader_.Seek(scan.end());
  decoded_.assign(planes_.size(), true);
  NextScan();
  FillInfo();
  return Status();
}

Status FileDecoder::DecodePlanes() {
  if (geometry_ == nullptr) geometry_ = std::make_unique<Geometry>(reader_.frame(), options_.scale);
  planes_.resize(geometry_->components.size());
  for (size_t i = 0; i < planes_.size(); ++i) {
    if (!planes_[i].AllocateAll(*geometry_, geometry_->components[i])) {
      return Status::NoMemory();
    }
  }
  decoded_.assign(planes_.size(), false);
  do {
    const Status status = DecodeScanToPlanes();
    const bool first = std::none_of(decoded_.begin(), decoded_.end(), [](bool b) { return b; });
    if (!status.ok() && first) return AtMarker(status);
    if (!status.ok()) {
      info_->messages.Add(reader_.marker_offset(), status.text());
      break;
    }
  } while (NextScan());
  ReportMissing();
  FillInfo();
  return Status();
}

Status FileDecoder::DecodeScanToPlanes() {
  ScanLayout layout;
  if (Status status = MakeLayout(&layout); !status.ok()) return status;
  ScanDecoder scan(data_, size_, reader_.position(), layout, &info_->messages, options_.times);
  for (int row = 0; row < layout.mcu_rows; ++row) scan.DecodeRow();
  for (const ScanComponent& part : reader_.scan()) decoded_[static_cast<size_t>(part.index)] = true;
  reader_.Seek(scan.end());
  return Status();
}

// Goes on to the next scan that brings something new. What is wrong behind the first scan costs no
// more than what was to come.
bool FileDecoder::NextScan() {
  Event event = Event::kEnd;
  const Status status = reader_.Next(&event);
  if (!status.ok()) {
    info_->messages.Add(reader_.marker_offset(), status.text());
    return false;
  }
  if (event != Event::kScan) return false;
  for (const ScanComponent& part : reader_.scan()) {
    if (!decoded_[static_cast<size_t>(part.index)]) continue;
    info_->messages.Add(reader_.position(), "a second scan of the same component, ignored");
    return false;
  }
  return true;
}

void FileDecoder::ReportMissing() {
  for (size_t i = 0; i < decoded_.size(); ++i) {
    if (decoded_[i]) continue;
    info_->messages.Add(reader_.position(), "component " + std::to_string(i) + " has no scan");
  }
}

Status CheckOptions(const DecodeOptions& options) {
  const int scale = options.scale;
  if (scale == 1 || scale == 2 || scale == 4 || scale == 8) return Status();
  return Status::Error("the scale must be 1, 2, 4 or 8");
}

}  // namespace

Status Decode(const uint8_t* data, size_t size, const DecodeOptions& options, Image* image,
              FileInfo* info) {
  if (Status status = CheckOptions(options); !status.ok()) return status;
  *info = FileInfo();
  FileDecoder decoder(data, size, options, info);
  if (Status status = decoder.ReadHeaders(); !status.ok()) return status;
  return decoder.DecodePicture(image);
}

Status DecodeComponents(const uint8_t* data, size_t size, const DecodeOptions& options,
                        std::vector<ComponentSamples>* components, FileInfo* info) {
  if (options.scale != 1) return Status::Error("components are decoded at full scale only");
  *info = FileInfo();
  components->clear();
  FileDecoder decoder(data, size, options, info);
  if (Status status = decoder.ReadHeaders(); !status.ok()) return status;
  if (Status status = decoder.DecodePlanes(); !status.ok()) return status;
  for (size_t i = 0; i < decoder.planes().size(); ++i) {
    const ComponentGeometry& place = decoder.geometry().components[i];
    ComponentSamples out{place.width, place.height, {}};
    for (int y = 0; y < place.height; ++y) {
      const uint8_t* row = decoder.planes()[i].Row(y);
      out.samples.insert(out.samples.end(), row, row + place.width);
    }
    components->push_back(std::move(out));
  }
  return Status();
}

Status ReadFileInfo(const uint8_t* data, size_t size, FileInfo* info) {
  *info = FileInfo();
  DecodeOptions options;
  options.max_pixels = INT64_MAX;
  return FileDecoder(data, size, options, info).ReadHeaders();
}

}  // namespace jpeg
