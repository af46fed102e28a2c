// SPDX-License-Identifier: MIT
// Entropy coding of whole photographs: the JPEG codec beside libjpeg-turbo, from file to
// coefficients and back, in the same run.
//   jpeg_scans_compare [--rounds N] FILE.jpg...
// For each photograph, with its own coefficients: a progressive file is decoded and encoded, and a
// sequential one is encoded with optimal tables; the time with the standard's tables is subtracted,
// which leaves the time of counting and making tables.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include <jpeglib.h>

#include "best_time.h"
#include "codecs/jpeg/coefficient_writer.h"
#include "codecs/jpeg/decoder.h"
#include "codecs/jpeg/transcoder.h"

namespace jpeg = zepcodec::jpeg;

namespace {

using Bytes = std::vector<uint8_t>;

void Require(const zepcodec::Status& status) {
  if (!status.ok()) throw std::runtime_error(status.text());
}

// Coefficients in libjpeg-turbo's arrays.
class RivalCoefficients {
 public:
  explicit RivalCoefficients(const Bytes& file) {
    source_.err = jpeg_std_error(&errors_);
    jpeg_create_decompress(&source_);
    jpeg_mem_src(&source_, file.data(), file.size());
    jpeg_read_header(&source_, TRUE);
    arrays_ = jpeg_read_coefficients(&source_);
  }
  ~RivalCoefficients() { jpeg_destroy_decompress(&source_); }
  RivalCoefficients(const RivalCoefficients&) = delete;
  RivalCoefficients& operator=(const RivalCoefficients&) = delete;

  Bytes Write(bool is_progressive, bool optimizes) {
    jpeg_compress_struct target;
    target.err = &errors_;
    jpeg_create_compress(&target);
    jpeg_copy_critical_parameters(&source_, &target);
    target.optimize_coding = optimizes ? TRUE : FALSE;
    if (is_progressive) jpeg_simple_progression(&target);
    unsigned char* memory = nullptr;
    unsigned long size = 0;  // NOLINT(google-runtime-int): the library's type
    jpeg_mem_dest(&target, &memory, &size);
    jpeg_write_coefficients(&target, arrays_);
    jpeg_finish_compress(&target);
    jpeg_destroy_compress(&target);
    Bytes file(memory, memory + size);
    std::free(memory);
    return file;
  }

 private:
  jpeg_decompress_struct source_;
  jpeg_error_mgr errors_;
  jvirt_barray_ptr* arrays_;
};

void Read(const Bytes& file, jpeg::Coefficients* coefficients) {
  jpeg::DecodeOptions options;
  options.max_pixels = INT64_MAX;
  jpeg::FileInfo info;
  Require(jpeg::DecodeCoefficients(file.data(), file.size(), options, coefficients, &info));
}

struct Pair {
  BestTime ours, theirs;
  double Ratio() const { return theirs.ms() / ours.ms(); }
};

struct Ratios {
  double decode, encode, counting;
};

Ratios Compare(const std::string& path, int rounds) {
  std::ifstream stream(path, std::ios::binary);
  const Bytes input{std::istreambuf_iterator<char>(stream), {}};
  RivalCoefficients theirs(input);
  const Bytes progressive = theirs.Write(true, true);
  jpeg::Coefficients coefficients;
  Read(input, &coefficients);
  const auto components = static_cast<int>(coefficients.frame.components.size());
  const jpeg::Script scans = jpeg::ProgressiveScript(components);
  const jpeg::Script plain = jpeg::SequentialScript(components);
  Pair decode, encode, optimized, standard;
  zepcodec::ByteBuffer file;
  zepcodec::ThreadPool one_thread(1);
  const auto write = [&](const jpeg::Script& script, bool optimizes) {
    if (!file.Resize(0)) throw std::bad_alloc();
    Require(jpeg::WriteScans(coefficients, script, optimizes, 0, &one_thread, &file));
  };
  for (int round = 0; round < rounds; ++round) {
    decode.ours.Time([&] {
      jpeg::Coefficients decoded;
      Read(progressive, &decoded);
    });
    decode.theirs.Time([&] { RivalCoefficients decoded(progressive); });
    encode.ours.Time([&] { write(scans, true); });
    encode.theirs.Time([&] { theirs.Write(true, true); });
    optimized.ours.Time([&] { write(plain, true); });
    optimized.theirs.Time([&] { theirs.Write(false, true); });
    standard.ours.Time([&] { write(plain, false); });
    standard.theirs.Time([&] { theirs.Write(false, false); });
  }
  const double counting[2] = {optimized.ours.ms() - standard.ours.ms(),
                              optimized.theirs.ms() - standard.theirs.ms()};
  const Ratios ratios = {decode.Ratio(), encode.Ratio(), counting[1] / counting[0]};
  const std::string name = path.substr(path.rfind('/') + 1);
  std::printf("%-28.28s %7.1f %7.1f %5.2f  %7.1f %7.1f %5.2f  %7.1f %7.1f %5.2f\n", name.c_str(),
              decode.ours.ms(), decode.theirs.ms(), ratios.decode, encode.ours.ms(),
              encode.theirs.ms(), ratios.encode, counting[0], counting[1], ratios.counting);
  std::fflush(stdout);
  return ratios;
}

void PrintMeans(const std::vector<Ratios>& all) {
  const auto mean = [&](auto ratio) {
    double sum = 0;
    for (const Ratios& ratios : all) sum += std::log(ratio(ratios));
    return std::exp(sum / static_cast<double>(all.size()));
  };
  std::printf("%-28s %21.2f  %21.2f  %21.2f\n", "geometric mean",
              mean([](const Ratios& r) { return r.decode; }),
              mean([](const Ratios& r) { return r.encode; }),
              mean([](const Ratios& r) { return r.counting; }));
}

}  // namespace

int main(int argc, char** argv) {
  int rounds = 5;
  std::printf("%-28s %21s  %21s  %21s\n", "ms", "progressive decoding", "progressive encoding",
              "counting and tables");
  std::printf("%-28s %7s %7s %5s  %7s %7s %5s  %7s %7s %5s\n", "file", "zepjp", "turbo", "ratio",
              "zepjp", "turbo", "ratio", "zepjp", "turbo", "ratio");
  std::vector<Ratios> all;
  try {
    for (int i = 1; i < argc; ++i) {
      if (std::strcmp(argv[i], "--rounds") == 0 && i + 1 < argc) {
        rounds = std::max(1, std::atoi(argv[++i]));
        continue;
      }
      all.push_back(Compare(argv[i], rounds));
    }
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
  if (!all.empty()) PrintMeans(all);
  return 0;
}
