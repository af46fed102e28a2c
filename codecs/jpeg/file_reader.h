// SPDX-License-Identifier: MIT
// A file while it is decoded: its headers, and which components have had their scan.
#ifndef ZEPJP_CODECS_JPEG_FILE_READER_H_
#define ZEPJP_CODECS_JPEG_FILE_READER_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/jpeg/decoder.h"
#include "codecs/jpeg/geometry.h"
#include "codecs/jpeg/markers/marker_reader.h"
#include "codecs/support/thread_pool.h"

namespace zepcodec::jpeg {

// Whether a component of the scan at hand has the tables that the scan uses.
bool HasTables(const MarkerReader& reader, const ScanComponent& part);
Status MissingTables();

// Blocks that hold samples.
int64_t BlockCount(const Geometry& geometry);

// Failures that are no fault of the file.
bool EndsAll(const Status& status);

struct FileReader {
  FileReader(const uint8_t* its_data, size_t its_size, const DecodeOptions& its_options,
             FileInfo* its_info)
      : data(its_data),
        size(its_size),
        options(its_options),
        info(its_info),
        headers(data, size, &info->messages),
        pool(options.threads) {}

  // Reads up to the first scan.
  Status ReadHeaders();
  // Goes on to the next scan with new data. An error after the first scan only ends the picture
  // early.
  bool NextScan();
  bool HasNoScanYet() const;
  bool ScanHasAllComponents() const;
  // The components of the scan at hand have had their scan.
  void SetDecoded();
  // All scans are read.
  void Finish();

  const uint8_t* data;
  size_t size;
  const DecodeOptions& options;
  FileInfo* info;
  MarkerReader headers;
  ThreadPool pool;
  std::vector<bool> is_decoded;  // of each component

 private:
  Status CheckSize() const;
  void FillInfo();
};

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_FILE_READER_H_
