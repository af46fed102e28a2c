// SPDX-License-Identifier: MIT
#include "codecs/jpeg/decoder.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include "codecs/jpeg/band_writer.h"
#include "codecs/jpeg/coefficient_rows.h"
#include "codecs/jpeg/coefficient_scan.h"
#include "codecs/jpeg/deep_planes.h"
#include "codecs/jpeg/geometry.h"
#include "codecs/jpeg/markers/marker_reader.h"
#include "codecs/jpeg/plane.h"
#include "codecs/jpeg/scan_decoder.h"
#include "codecs/jpeg/scan_pipeline.h"
#include "codecs/jpeg/scan_wavefront.h"
#include "codecs/support/parallel.h"
#include "codecs/support/thread_pool.h"

namespace zepcodec::jpeg {
namespace {

// The rules of libjpeg: a JFIF header means YCbCr even if an Adobe header says otherwise; an Adobe
// header with an unknown transform counts as one with the usual transform.
ColorModel FindColorModel(const MarkerReader& reader) {
  const std::vector<FrameComponent>& components = reader.frame().components;
  const int transform = reader.adobe_transform();
  if (components.size() == 1) return ColorModel::kGrey;
  if (components.size() == 4) return transform > 0 ? ColorModel::kYcck : ColorModel::kCmyk;
  if (reader.has_jfif()) return ColorModel::kYCbCr;
  if (transform >= 0) return transform == 0 ? ColorModel::kRgb : ColorModel::kYCbCr;
  const bool named_rgb =
      components[0].id == 'R' && components[1].id == 'G' && components[2].id == 'B';
  return named_rgb ? ColorModel::kRgb : ColorModel::kYCbCr;
}

// Blocks that hold samples.
int64_t BlockCount(const Geometry& geometry) {
  int64_t blocks = 0;
  for (const ComponentGeometry& place : geometry.components) {
    blocks += int64_t{place.blocks_per_row} * place.block_rows;
  }
  return blocks;
}

// Those that the scan at hand uses.
bool HasTables(const MarkerReader& reader, const ScanComponent& part) {
  const Tables& tables = reader.tables();
  const Scan& scan = reader.scan();
  const int quant = reader.frame().components[static_cast<size_t>(part.index)].quant_table;
  const bool uses_dc = scan.first == 0 && scan.high == 0;
  const bool uses_ac = scan.last > 0;
  return tables.has_quant[quant] && (!uses_dc || tables.has_dc[part.dc_table]) &&
         (!uses_ac || tables.has_ac[part.ac_table]);
}

int64_t MostIdleVisits(const Geometry& geometry) {
  return std::max(kMostIdleVisits * BlockCount(geometry), kAlwaysAcceptedVisits);
}

Status MissingTables() {
  return Status::Error("a scan without its quantization or Huffman tables");
}

Status LossyOnly() { return Status::Error("a lossless JPEG file has no coefficients"); }

// Failures that are no fault of the file.
bool EndsAll(const Status& status) {
  return status.kind() == Status::Kind::kCancelled || status.kind() == Status::Kind::kNoMemory;
}

// One file on its way to a picture or to planes.
class FileDecoder {
 public:
  FileDecoder(const uint8_t* data, size_t size, const DecodeOptions& options, FileInfo* info)
      : data_(data),
        size_(size),
        options_(options),
        info_(info),
        reader_(data, size, &info->messages),
        pool_(options.threads) {}

  // Reads up to the first scan.
  Status ReadHeaders();
  Status DecodePicture(Picture* image);
  Status DecodePlanes();
  Status DecodeCoefficients(Coefficients* coefficients) {
    return DecodeAllScans(coefficients, [](int) { return Status(); });
  }
  const Geometry& geometry() const { return *geometry_; }
  const std::vector<Plane>& planes() const { return planes_; }

 private:
  Status CheckSize() const;
  bool ScanHasAllComponents() const;
  Status MakeLayout(ScanLayout* layout);
  Status DecodeRowByRow(Picture* image);
  Status DecodeProgressive(Picture* image);
  template <class OnScan>
  Status DecodeAllScans(Coefficients* coefficients, const OnScan& on_scan);
  Status DecodeScanToCoefficients(Coefficients* coefficients);
  Status DecodeScansTogether(Coefficients* coefficients, bool* is_done);
  bool PlanScans(const Geometry& geometry, ScanWavefront* scans) const;
  void TakeSteps(Coefficients* coefficients);
  Status Show(const Coefficients& coefficients, Picture* image);
  [[nodiscard]] bool AllocatePlanes();
  Status DecodeOnThreads(const ScanLayout& layout, Picture* image, bool* is_done);
  Status DecodeOnOneThread(ScanLayout* layout, Picture* image);
  template <class Rows>
  Status WriteRows(Rows& rows, int first, int end, BandWriter* writer);
  Status DecodeScanToPlanes();
  bool NextScan();
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
  ThreadPool pool_;
};

Status FileDecoder::ReadHeaders() {
  for (Event event = Event::kFrame; event != Event::kScan;) {
    Status status = reader_.Next(&event);
    if (event == Event::kEnd) status = Status::Error("the file has no picture in it");
    FillInfo();
    if (!status.ok()) return reader_.AtMarker(status);
    if (event == Event::kFrame) {
      if (info_->frame.is_lossless) return reader_.AtMarker(LossyOnly());
      if (Status bad = CheckSize(); !bad.ok()) return bad;
    }
  }
  info_->has_single_scan = ScanHasAllComponents();
  return Status();
}

void FileDecoder::FillInfo() {
  info_->frame = reader_.frame();
  if (!info_->frame.components.empty()) info_->model = FindColorModel(reader_);
  info_->restart_interval = reader_.restart_interval();
  info_->adobe_transform = reader_.adobe_transform();
  info_->has_jfif = reader_.has_jfif();
  info_->metadata = reader_.metadata();
}

Status FileDecoder::CheckSize() const {
  const Frame& frame = reader_.frame();
  const std::string claim = "the header announces " + std::to_string(frame.width) + " x " +
                            std::to_string(frame.height) + " pixels";
  if (int64_t{frame.width} * frame.height > options_.max_pixels) {
    return Status::TooLarge(claim + ", more than the limit of " +
                            std::to_string(options_.max_pixels));
  }
  const int64_t blocks = BlockCount(Geometry(frame, 1));
  const int64_t bytes = static_cast<int64_t>(size_ - reader_.position());
  const int64_t least =
      blocks / (frame.is_progressive ? kProgressiveBlocksInAByte : kBlocksInAByte);
  if (blocks <= kAlwaysAcceptedBlocks || least <= bytes) return Status();
  return Status::Error(claim + ", which take at least " + std::to_string(least) + " bytes; only " +
                       std::to_string(bytes) + " follow");
}

bool FileDecoder::ScanHasAllComponents() const {
  return reader_.scan().components.size() == reader_.frame().components.size();
}

Status FileDecoder::MakeLayout(ScanLayout* layout) {
  const Tables& tables = reader_.tables();
  const Scan& scan = reader_.scan();
  const ScanWalk walk(*geometry_, scan);
  layout->restart_interval = reader_.restart_interval();
  layout->mcus_per_row = walk.mcus_per_row;
  layout->mcu_rows = walk.mcu_rows;
  for (size_t i = 0; i < walk.parts.size(); ++i) {
    const ScanComponent& part = scan.components[i];
    const size_t index = static_cast<size_t>(part.index);
    if (!HasTables(reader_, part)) return MissingTables();
    ScanPart out{index,
                 &planes_[index],
                 geometry_->components[index].block_size,
                 walk.parts[i].across,
                 walk.parts[i].down,
                 &tables.dc[part.dc_table],
                 &tables.ac[part.ac_table],
                 {}};
    const int quant = reader_.frame().components[index].quant_table;
    std::memcpy(out.steps, tables.quant[quant], sizeof(out.steps));
    layout->parts.push_back(out);
  }
  return Status();
}

Status FileDecoder::DecodePicture(Picture* image) {
  geometry_ = std::make_unique<Geometry>(reader_.frame(), options_.scale);
  planes_ = std::vector<Plane>(geometry_->components.size());
  if (!image->Resize(geometry_->width, geometry_->height, LayoutOf(info_->model))) {
    return Status::NoMemory();
  }
  if (reader_.frame().is_progressive) return DecodeProgressive(image);
  if (ScanHasAllComponents()) return DecodeRowByRow(image);
  PictureWriter writer(info_->model, image);
  if (!writer.Init(*geometry_, planes_)) return Status::NoMemory();
  if (Status status = DecodePlanes(); !status.ok()) return status;
  const int height = geometry_->height;
  int done = 0;
  for (int row = 0; row < geometry_->mcu_rows; ++row) {
    const int bottom = std::min((row + 1) * geometry_->McuHeight(), height);
    const int last = bottom == height ? height : bottom - 1;
    writer.Write(done, last);
    done = last;
  }
  return Status();
}

bool FileDecoder::AllocatePlanes() {
  for (size_t i = 0; i < planes_.size(); ++i) {
    if (!planes_[i].AllocateAll(*geometry_, geometry_->components[i])) return false;
  }
  return true;
}

// Almost every file: each row of MCUs becomes rows of the picture at once.
Status FileDecoder::DecodeRowByRow(Picture* image) {
  ScanLayout layout;
  if (Status status = MakeLayout(&layout); !status.ok()) return reader_.AtMarker(status);
  bool is_done = false;
  Status status = DecodeOnThreads(layout, image, &is_done);
  if (status.ok() && !is_done) status = DecodeOnOneThread(&layout, image);
  if (!status.ok()) return status;
  decoded_.assign(planes_.size(), true);
  NextScan();
  FillInfo();
  return Status();
}

// `is_done`: the picture is there. Otherwise the data is damaged, or too little to be shared out.
Status FileDecoder::DecodeOnThreads(const ScanLayout& layout, Picture* image, bool* is_done) {
  if (pool_.size() < 2) return Status();
  ScanPipeline scan(data_, size_, reader_.position(), layout, *geometry_, info_->model, image);
  if (!scan.IsWorthwhile()) return Status();
  if (Status status = scan.Run(&pool_, options_.progress, is_done); !status.ok()) return status;
  if (*is_done) reader_.Seek(scan.end());
  return Status();
}

Status FileDecoder::DecodeOnOneThread(ScanLayout* layout, Picture* image) {
  BandWriter writer(*geometry_, info_->model, image);
  if (!writer.Init()) return Status::NoMemory();
  for (ScanPart& part : layout->parts) part.plane = &(*writer.planes())[part.component];
  ScanDecoder scan(data_, size_, reader_.position(), *layout, &info_->messages);
  if (Status status = WriteRows(scan, 0, geometry_->mcu_rows, &writer); !status.ok()) return status;
  reader_.Seek(scan.end());
  return Status();
}

// The rows of MCUs first..end-1.
template <class Rows>
Status FileDecoder::WriteRows(Rows& rows, int first, int end, BandWriter* writer) {
  const bool is_done = writer->Write(first, end, [&](int row) {
    if (Stops(options_.progress, row, geometry_->mcu_rows)) return false;
    rows.DecodeRow(row);
    return true;
  });
  return is_done ? Status() : Status::Cancelled();
}

Status FileDecoder::DecodeProgressive(Picture* image) {
  Coefficients coefficients;
  const auto show = [&](int number) {
    if (!options_.on_scan) return Status();
    coefficients.idle_visits += BlockCount(*geometry_);
    if (Status status = Show(coefficients, image); !status.ok()) return status;
    return options_.on_scan(*image, number, reader_.scan());
  };
  if (Status status = DecodeAllScans(&coefficients, show); !status.ok()) return status;
  return Show(coefficients, image);
}

Status FileDecoder::Show(const Coefficients& coefficients, Picture* image) {
  const auto write = [&](BandWriter* writer, int first, int end) {
    const CoefficientRows rows(coefficients, *geometry_, writer->planes());
    return WriteRows(rows, first, end, writer);
  };
  if (pool_.size() == 1) {
    BandWriter writer(*geometry_, info_->model, image);
    return writer.Init() ? write(&writer, 0, geometry_->mcu_rows) : Status::NoMemory();
  }
  const int bands = DivideUp(geometry_->mcu_rows, kRowsInABand);
  return RunParallel(
      &pool_, static_cast<size_t>(bands),
      [&] {
        auto writer = std::make_unique<BandWriter>(*geometry_, info_->model, image);
        if (!writer->Init()) throw std::bad_alloc();
        return [&write, this, writer = std::move(writer)](size_t band) {
          const int first = static_cast<int>(band) * kRowsInABand;
          // Cancelled or done, as the progress knows.
          (void)write(writer.get(), first, std::min(first + kRowsInABand, geometry_->mcu_rows));
        };
      },
      options_.progress);
}

template <class OnScan>
Status FileDecoder::DecodeAllScans(Coefficients* coefficients, const OnScan& on_scan) {
  if (!coefficients->Allocate(reader_.frame())) return Status::NoMemory();
  decoded_.assign(reader_.frame().components.size(), false);
  bool is_done = false;
  Status status = DecodeScansTogether(coefficients, &is_done);
  if (!status.ok() || is_done) return status;
  int number = 0;
  do {
    status = DecodeScanToCoefficients(coefficients);
    if (EndsAll(status)) return status;
    if (!status.ok() && number == 0) return reader_.AtMarker(status);
    if (!status.ok()) {
      info_->messages.AddAt(reader_.marker_offset(), status.text());
      break;
    }
    if (Status stop = on_scan(++number); !stop.ok()) return stop;
    if (Stops(options_.progress, reader_.position(), size_)) return Status::Cancelled();
    if (number == options_.scans) break;
  } while (NextScan());
  ReportMissing();
  FillInfo();
  return Status();
}

// The steps of the components that have their first scan.
void FileDecoder::TakeSteps(Coefficients* coefficients) {
  for (const ScanComponent& part : reader_.scan().components) {
    const auto index = static_cast<size_t>(part.index);
    if (decoded_[index]) continue;
    const int quant = reader_.frame().components[index].quant_table;
    std::copy_n(reader_.tables().quant[quant], 64, coefficients->steps[index].begin());
    decoded_[index] = true;
  }
}

// `is_done`: all scans are decoded. Otherwise there is a fault, or too little to be shared out.
Status FileDecoder::DecodeScansTogether(Coefficients* coefficients, bool* is_done) {
  if (pool_.size() < 2 || options_.on_scan) return Status();
  const Geometry geometry(reader_.frame(), 1);
  ScanWavefront scans(data_, size_, geometry, coefficients);
  if (!PlanScans(geometry, &scans)) {
    coefficients->has_dc.assign(coefficients->has_dc.size(), false);
    return Status();
  }
  if (Status status = scans.Run(&pool_, options_.progress, is_done); !status.ok()) return status;
  *is_done = *is_done && coefficients->idle_visits <= MostIdleVisits(geometry);
  if (!*is_done) {
    return coefficients->Allocate(reader_.frame()) ? Status() : Status::NoMemory();
  }
  // What the file says between the scans.
  for (size_t i = 0; i < scans.scan_count(); ++i) {
    TakeSteps(coefficients);
    reader_.Seek(scans.end(i));
    if (i + 1 < scans.scan_count()) NextScan();
  }
  if (options_.scans == 0) NextScan();
  ReportMissing();
  FillInfo();
  return Status();
}

// False: there is a single scan, or not all is well, or there are more scans than files usually have.
bool FileDecoder::PlanScans(const Geometry& geometry, ScanWavefront* scans) const {
  constexpr size_t kMostScans = 64;
  Messages faults;
  MarkerReader reader(data_, size_, &faults);
  for (;;) {
    Event event = Event::kFrame;
    while (event == Event::kFrame) {
      if (!reader.Next(&event).ok()) return false;
    }
    if (event == Event::kEnd) break;
    const Scan& scan = reader.scan();
    for (const ScanComponent& part : scan.components) {
      if (!HasTables(reader, part)) return false;
    }
    const ScanWalk walk(geometry, scan);
    const int64_t mcus = walk.McuCount();
    const int64_t interval = reader.restart_interval() > 0 ? reader.restart_interval() : mcus;
    const auto count = static_cast<size_t>((mcus + interval - 1) / interval);
    const Intervals intervals = FindIntervals(data_, size_, reader.position(), count, &faults);
    if (faults.count() > 0 || intervals.found.size() != count) return false;
    scans->Add(scan, reader.tables(), reader.position(), intervals.end, reader.restart_interval());
    const auto planned = static_cast<int>(scans->scan_count());
    if (planned == options_.scans) break;
    if (scans->scan_count() == kMostScans) return false;
    reader.Seek(intervals.end);
  }
  return scans->scan_count() > 1;
}

Status FileDecoder::DecodeScanToCoefficients(Coefficients* coefficients) {
  const Scan& scan = reader_.scan();
  const Geometry geometry(reader_.frame(), 1);
  const ScanWalk walk(geometry, scan);
  if (coefficients->idle_visits > MostIdleVisits(geometry)) {
    return Status::Error("more scans than a picture of this size can need; the rest is left out");
  }
  for (const ScanComponent& part : scan.components) {
    if (!HasTables(reader_, part)) return MissingTables();
  }
  TakeSteps(coefficients);
  const ScanTask task = {data_,
                         size_,
                         reader_.position(),
                         scan,
                         walk,
                         reader_.tables(),
                         reader_.restart_interval(),
                         TakeFirstDc(scan, coefficients)};
  const ScanOutcome outcome = DecodeScan(task, coefficients, &info_->messages);
  coefficients->idle_visits += outcome.idle_visits;
  reader_.Seek(outcome.end);
  return Status();
}

Status FileDecoder::DecodePlanes() {
  if (geometry_ == nullptr) geometry_ = std::make_unique<Geometry>(reader_.frame(), options_.scale);
  planes_.resize(geometry_->components.size());
  if (!AllocatePlanes()) return Status::NoMemory();
  if (reader_.frame().is_progressive) {
    Coefficients coefficients;
    if (Status status = DecodeCoefficients(&coefficients); !status.ok()) return status;
    CoefficientRows rows(coefficients, *geometry_, &planes_);
    for (int row = 0; row < geometry_->mcu_rows; ++row) rows.DecodeRow(row);
    return Status();
  }
  decoded_.assign(planes_.size(), false);
  do {
    const Status status = DecodeScanToPlanes();
    const bool first = std::none_of(decoded_.begin(), decoded_.end(), [](bool b) { return b; });
    if (EndsAll(status)) return status;
    if (!status.ok() && first) return reader_.AtMarker(status);
    if (!status.ok()) {
      info_->messages.AddAt(reader_.marker_offset(), status.text());
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
  ScanDecoder scan(data_, size_, reader_.position(), layout, &info_->messages);
  for (int row = 0; row < layout.mcu_rows; ++row) {
    if (Stops(options_.progress, row, layout.mcu_rows)) return Status::Cancelled();
    scan.DecodeRow(row);
  }
  for (const ScanComponent& part : reader_.scan().components) {
    decoded_[static_cast<size_t>(part.index)] = true;
  }
  reader_.Seek(scan.end());
  return Status();
}

// Goes on to the next scan with new data. An error after the first scan only ends the picture
// early.
bool FileDecoder::NextScan() {
  Event event = Event::kEnd;
  const Status status = reader_.Next(&event);
  if (!status.ok()) {
    info_->messages.AddAt(reader_.marker_offset(), status.text());
    return false;
  }
  if (event != Event::kScan) return false;
  if (reader_.frame().is_progressive) return true;
  for (const ScanComponent& part : reader_.scan().components) {
    if (!decoded_[static_cast<size_t>(part.index)]) continue;
    info_->messages.AddAt(reader_.position(), "a second scan of the same component, ignored");
    return false;
  }
  return true;
}

void FileDecoder::ReportMissing() {
  for (size_t i = 0; i < decoded_.size(); ++i) {
    if (decoded_[i]) continue;
    info_->messages.AddAt(reader_.position(), "component " + std::to_string(i) + " has no scan");
  }
}

Status CheckOptions(const DecodeOptions& options) {
  const int scale = options.scale;
  if (scale == 1 || scale == 2 || scale == 4 || scale == 8) return Status();
  return Status::Error("the scale must be 1, 2, 4 or 8");
}

}  // namespace

Status Decode(const uint8_t* data, size_t size, const DecodeOptions& options, Picture* picture,
              FileInfo* info) {
  if (Status status = CheckOptions(options); !status.ok()) return status;
  *info = FileInfo();
  FileDecoder decoder(data, size, options, info);
  if (Status status = decoder.ReadHeaders(); !status.ok()) return status;
  if (info->frame.precision != kDeepBits) return decoder.DecodePicture(picture);
  if (options.scale != 1) {
    return Status::Unsupported("pictures of 12 bits are decoded at full scale only");
  }
  Coefficients coefficients;
  std::vector<DeepPlane> planes;
  if (Status status = decoder.DecodeCoefficients(&coefficients); !status.ok()) return status;
  if (Status status = ToDeepPlanes(coefficients, &planes); !status.ok()) return status;
  return ToPicture(planes, info->frame, info->model, picture);
}

Status DecodeComponents(const uint8_t* data, size_t size, const DecodeOptions& options,
                        std::vector<ComponentSamples>* components, FileInfo* info) {
  if (options.scale != 1) return Status::Error("components are decoded at full scale only");
  *info = FileInfo();
  components->clear();
  FileDecoder decoder(data, size, options, info);
  if (Status status = decoder.ReadHeaders(); !status.ok()) return status;
  if (info->frame.precision != 8) {
    return Status::Error("components of 8 bits only are decoded on their own");
  }
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

Status DecodeCoefficients(const uint8_t* data, size_t size, const DecodeOptions& options,
                          Coefficients* coefficients, FileInfo* info) {
  *info = FileInfo();
  FileDecoder decoder(data, size, options, info);
  if (Status status = decoder.ReadHeaders(); !status.ok()) return status;
  return decoder.DecodeCoefficients(coefficients);
}

Status ReadFileInfo(const uint8_t* data, size_t size, FileInfo* info) {
  *info = FileInfo();
  DecodeOptions options;
  options.max_pixels = INT64_MAX;
  return FileDecoder(data, size, options, info).ReadHeaders();
}

}  // namespace zepcodec::jpeg
