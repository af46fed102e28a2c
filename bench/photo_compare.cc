// SPDX-License-Identifier: MIT
// Whole photographs: the JPEG codec beside libjpeg, one core, the same files in the same run.
//   photo_compare [--rounds N] [--fast-dct] FILE.jpg...
// Both decode the file, and encode its picture at quality 90, 4:2:0, with accurate transforms. The
// PSNR is that of the encoded picture, as decoded by libjpeg.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include <jpeglib.h>

#include "best_time.h"
#include "codecs/jpeg/decoder.h"
#include "codecs/jpeg/encoder.h"
#include "zepcore.h"

namespace jpeg = zepcodec::jpeg;

namespace {

using Bytes = std::vector<uint8_t>;

[[noreturn]] void ThrowError(j_common_ptr info) {
  char text[JMSG_LENGTH_MAX];
  info->err->format_message(info, text);
  throw std::runtime_error(text);
}

template <class Info>
void SetErrors(Info* info, jpeg_error_mgr* errors) {
  info->err = jpeg_std_error(errors);
  errors->error_exit = ThrowError;
}

// The peer in its fastest form: many rows at a time, directly into the picture.
void RivalDecode(const uint8_t* file, size_t size, zepcodec::Picture* image) {
  jpeg_decompress_struct info;
  jpeg_error_mgr errors;
  SetErrors(&info, &errors);
  jpeg_create_decompress(&info);
  jpeg_mem_src(&info, file, size);
  jpeg_read_header(&info, TRUE);
  info.out_color_space = info.num_components == 1 ? JCS_GRAYSCALE : JCS_RGB;
  info.dct_method = JDCT_ISLOW;
  jpeg_start_decompress(&info);
  const auto layout =
      info.num_components == 1 ? zepcodec::PixelLayout::kGrey : zepcodec::PixelLayout::kRgb;
  if (!image->Resize(static_cast<int>(info.output_width), static_cast<int>(info.output_height),
                     layout)) {
    std::abort();
  }
  std::vector<JSAMPROW> rows;
  rows.reserve(static_cast<size_t>(image->height()));
  for (int y = 0; y < image->height(); ++y) rows.push_back(image->Row(y));
  while (info.output_scanline < info.output_height) {
    jpeg_read_scanlines(&info, &rows[info.output_scanline],
                        info.output_height - info.output_scanline);
  }
  jpeg_finish_decompress(&info);
  jpeg_destroy_decompress(&info);
}

// Passes in memory that is large enough, because our side also keeps its memory from round to
// round.
void RivalEncode(const zepcodec::Picture& image, zepcodec::ByteBuffer* file) {
  jpeg_compress_struct info;
  jpeg_error_mgr errors;
  SetErrors(&info, &errors);
  jpeg_create_compress(&info);
  if (!file->Resize(image.SizeInBytes() + 65536)) std::abort();
  unsigned char* memory = file->data();
  unsigned long size = file->size();  // NOLINT(google-runtime-int): the library's type
  jpeg_mem_dest(&info, &memory, &size);
  info.image_width = static_cast<JDIMENSION>(image.width());
  info.image_height = static_cast<JDIMENSION>(image.height());
  info.input_components = image.channels();
  info.in_color_space = image.channels() == 1 ? JCS_GRAYSCALE : JCS_RGB;
  jpeg_set_defaults(&info);
  jpeg_set_quality(&info, 90, TRUE);
  info.dct_method = JDCT_ISLOW;
  jpeg_start_compress(&info, TRUE);
  std::vector<JSAMPROW> rows;
  rows.reserve(static_cast<size_t>(image.height()));
  for (int y = 0; y < image.height(); ++y) rows.push_back(const_cast<uint8_t*>(image.Row(y)));
  jpeg_write_scanlines(&info, rows.data(), info.image_height);
  jpeg_finish_compress(&info);
  jpeg_destroy_compress(&info);
  if (memory != file->data()) throw std::runtime_error("the file is larger than its picture");
  if (!file->Resize(size)) std::abort();
}

double Psnr(const zepcodec::Picture& a, const zepcodec::Picture& b) {
  uint64_t sum = 0;
  for (size_t i = 0; i < a.SizeInBytes(); ++i) {
    const int distance = a.Row(0)[i] - b.Row(0)[i];
    sum += static_cast<uint64_t>(distance * distance);
  }
  return 10 * std::log10(255.0 * 255.0 * static_cast<double>(a.SizeInBytes()) /
                         std::max(1.0, static_cast<double>(sum)));
}

struct Row {
  std::string name;
  double megapixels = 0;
  double decode_ours = 0;
  double decode_rival = 0;
  double encode_ours = 0;
  double encode_rival = 0;
  double psnr_ours = 0;
  double psnr_rival = 0;
  double kb_ours = 0;
  double kb_rival = 0;
};

Bytes ReadFile(const std::string& path) {
  Bytes bytes;
  FILE* file = std::fopen(path.c_str(), "rb");
  if (file == nullptr) return bytes;
  std::vector<uint8_t> piece(1 << 20);
  while (const size_t count = std::fread(piece.data(), 1, piece.size(), file)) {
    bytes.insert(bytes.end(), piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(count));
  }
  std::fclose(file);
  return bytes;
}

void Require(const zepcodec::Status& status) {
  if (!status.ok()) throw std::runtime_error(status.text());
}

Row Compare(const std::string& path, int rounds, const jpeg::EncodeOptions& options) {
  const Bytes file = ReadFile(path);
  zepcodec::Picture image;
  zepcodec::Picture theirs;
  jpeg::FileInfo info;
  zepcodec::ByteBuffer our_file;
  zepcodec::ByteBuffer their_file;
  BestTime decode[2];
  BestTime encode[2];
  for (int round = 0; round < rounds; ++round) {
    decode[0].Time([&] {
      Require(jpeg::Decode(file.data(), file.size(), jpeg::DecodeOptions(), &image, &info));
    });
    decode[1].Time([&] { RivalDecode(file.data(), file.size(), &theirs); });
    encode[0].Time([&] { Require(jpeg::Encode(image, options, &our_file)); });
    encode[1].Time([&] { RivalEncode(image, &their_file); });
  }
  Row row;
  row.name = path.substr(path.rfind('/') + 1);
  row.megapixels = image.width() * 1e-6 * image.height();
  row.decode_ours = decode[0].ms();
  row.decode_rival = decode[1].ms();
  row.encode_ours = encode[0].ms();
  row.encode_rival = encode[1].ms();
  row.kb_ours = static_cast<double>(our_file.size()) / 1000;
  row.kb_rival = static_cast<double>(their_file.size()) / 1000;
  RivalDecode(our_file.data(), our_file.size(), &theirs);
  row.psnr_ours = Psnr(image, theirs);
  RivalDecode(their_file.data(), their_file.size(), &theirs);
  row.psnr_rival = Psnr(image, theirs);
  return row;
}

void Print(const Row& row) {
  std::printf("%-34.34s %5.1f  %8.1f %8.1f %5.2f  %8.1f %8.1f %5.2f  %6.2f %6.2f  %8.0f %8.0f\n",
              row.name.c_str(), row.megapixels, row.decode_ours, row.decode_rival,
              row.decode_rival / row.decode_ours, row.encode_ours, row.encode_rival,
              row.encode_rival / row.encode_ours, row.psnr_ours, row.psnr_rival, row.kb_ours,
              row.kb_rival);
  std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
  int rounds = 5;
  jpeg::EncodeOptions options;
  Row all;
  all.name = "all (sums; mean PSNR)";
  zepSetNumThreads(1);
  std::printf("%-34s %5s  %23s  %23s  %13s  %17s\n", "", "", "decode, ms", "encode, ms", "PSNR, dB",
              "size, kB");
  std::printf("%-34s %5s  %8s %8s %5s  %8s %8s %5s  %6s %6s  %8s %8s\n", "file", "Mpix", "zepjp",
              "libjpeg", "ratio", "zepjp", "libjpeg", "ratio", "zepjp", "libj.", "zepjp",
              "libjpeg");
  int count = 0;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--rounds") == 0 && i + 1 < argc) {
      rounds = std::max(1, std::atoi(argv[++i]));
      continue;
    }
    if (std::strcmp(argv[i], "--fast-dct") == 0) {
      options.forward_dct = jpeg::ForwardDct::kFast;
      continue;
    }
    try {
      const Row row = Compare(argv[i], rounds, options);
      Print(row);
      ++count;
      all.megapixels += row.megapixels;
      all.decode_ours += row.decode_ours;
      all.decode_rival += row.decode_rival;
      all.encode_ours += row.encode_ours;
      all.encode_rival += row.encode_rival;
      all.psnr_ours += row.psnr_ours;
      all.psnr_rival += row.psnr_rival;
      all.kb_ours += row.kb_ours;
      all.kb_rival += row.kb_rival;
    } catch (const std::exception& error) {
      std::fprintf(stderr, "%s: %s\n", argv[i], error.what());
      return 1;
    }
  }
  if (count == 0) return 2;
  all.psnr_ours /= count;
  all.psnr_rival /= count;
  Print(all);
  return 0;
}
