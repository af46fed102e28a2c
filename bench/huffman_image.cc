// SPDX-License-Identifier: MIT
#include "huffman_image.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <map>
#include <stdexcept>

namespace bench {
namespace {

struct Pixels {
  unsigned width, height;
  std::vector<uint8_t> rgb;
};

uint32_t Hash(uint32_t x, uint32_t y, uint32_t seed) {
  uint32_t h = x * 0x9E3779B1U ^ y * 0x85EBCA77U ^ seed * 0xC2B2AE3DU;
  h = (h ^ (h >> 15)) * 0x2C1B3C6DU;
  h = (h ^ (h >> 12)) * 0x297A2D39U;
  return h ^ (h >> 15);
}

// One octave of smooth noise, from -1 to 1.
double Noise(double x, double y, uint32_t seed) {
  const auto at = [seed](double cx, double cy) {
    return Hash(static_cast<uint32_t>(cx), static_cast<uint32_t>(cy), seed) / 2147483648.0 - 1.0;
  };
  const double cx = std::floor(x), cy = std::floor(y);
  const auto smooth = [](double t) { return t * t * (3 - 2 * t); };
  const double u = smooth(x - cx), v = smooth(y - cy);
  const double top = at(cx, cy) * (1 - u) + at(cx + 1, cy) * u;
  const double bottom = at(cx, cy + 1) * (1 - u) + at(cx + 1, cy + 1) * u;
  return top * (1 - v) + bottom * v;
}

// Octaves of noise; amplitudes fall with the frequency, like in photographs.
double Fractal(double x, double y, uint32_t seed, int octaves) {
  double sum = 0, amplitude = 1, scale = 1.0 / 256;
  for (int i = 0; i < octaves; ++i, amplitude *= 0.55, scale *= 2) {
    sum += amplitude * Noise(x * scale, y * scale, seed + static_cast<uint32_t>(i));
  }
  return sum;
}

// Regions of different roughness with sharp borders, soft light and a little grain.
Pixels SyntheticPhotograph(unsigned width, unsigned height) {
  Pixels picture{width, height, std::vector<uint8_t>(size_t{3} * width * height)};
  for (unsigned y = 0; y < height; ++y) {
    for (unsigned x = 0; x < width; ++x) {
      const double shape = Fractal(x + 9000.0, y, 77, 5);
      const bool rough = shape > 0.15, bright = std::fabs(shape) > 0.4;
      const double detail = Fractal(x, y, rough ? 5 : 31, rough ? 8 : 4) * (rough ? 55 : 28);
      const double grain = (Hash(x, y, 3) % 256 + Hash(x, y, 4) % 256) / 256.0 - 1.0;
      const double light = (bright ? 150 : 95) + detail + grain * 3;
      const double warm = Fractal(x, y + 5000.0, 13, 5) * 22;
      const double channels[3] = {light + warm, light, light - 0.8 * warm};
      uint8_t* pixel = &picture.rgb[size_t{3} * (size_t{y} * width + x)];
      for (int c = 0; c < 3; ++c) {
        pixel[c] = static_cast<uint8_t>(std::clamp(channels[c], 0.0, 255.0));
      }
    }
  }
  return picture;
}

Pixels ReadFile(const char* name) {
  FILE* file = std::fopen(name, "rb");
  if (file == nullptr) throw std::runtime_error("cannot open the benchmark's picture");
  jpeg_decompress_struct jpeg;
  jpeg_error_mgr errors;
  jpeg.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&jpeg);
  jpeg_stdio_src(&jpeg, file);
  jpeg_read_header(&jpeg, TRUE);
  jpeg.out_color_space = JCS_RGB;
  jpeg_start_decompress(&jpeg);
  Pixels picture{jpeg.output_width, jpeg.output_height, {}};
  picture.rgb.resize(size_t{3} * picture.width * picture.height);
  while (jpeg.output_scanline < jpeg.output_height) {
    JSAMPROW row = &picture.rgb[size_t{3} * picture.width * jpeg.output_scanline];
    jpeg_read_scanlines(&jpeg, &row, 1);
  }
  jpeg_destroy_decompress(&jpeg);
  std::fclose(file);
  return picture;
}

const Pixels& Original() {
  const char* name = std::getenv("ZEPJP_BENCH_IMAGE");
  static const Pixels picture = name != nullptr ? ReadFile(name) : SyntheticPhotograph(1920, 1280);
  return picture;
}

std::vector<uint8_t> Compress(const Pixels& picture, int quality) {
  jpeg_compress_struct jpeg;
  jpeg_error_mgr errors;
  jpeg.err = jpeg_std_error(&errors);
  jpeg_create_compress(&jpeg);
  unsigned char* memory = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&jpeg, &memory, &size);
  jpeg.image_width = picture.width;
  jpeg.image_height = picture.height;
  jpeg.input_components = 3;
  jpeg.in_color_space = JCS_RGB;
  jpeg_set_defaults(&jpeg);
  jpeg_set_quality(&jpeg, quality, TRUE);
  jpeg_start_compress(&jpeg, TRUE);
  while (jpeg.next_scanline < jpeg.image_height) {
    auto* row = const_cast<uint8_t*>(&picture.rgb[size_t{3} * picture.width * jpeg.next_scanline]);
    jpeg_write_scanlines(&jpeg, &row, 1);
  }
  jpeg_finish_compress(&jpeg);
  jpeg_destroy_compress(&jpeg);
  std::vector<uint8_t> file(memory, memory + size);
  std::free(memory);
  return file;
}

TableLists Lists(const JHUFF_TBL& table) {
  TableLists lists = {};
  std::copy(table.bits + 1, table.bits + 17, lists.bits);
  std::copy(std::begin(table.huffval), std::end(table.huffval), lists.vals);
  return lists;
}

// Adds one row of MCUs, from the rows of blocks of each component.
void AppendMcuRow(const jpeg_decompress_struct& jpeg, const std::vector<JBLOCKARRAY>& rows,
                  CodedPicture* picture) {
  const auto mcus = (jpeg.image_width + 15) / 16;
  for (JDIMENSION mcu = 0; mcu < mcus; ++mcu) {
    for (int c = 0; c < 3; ++c) {
      const auto across = static_cast<unsigned>(jpeg.comp_info[c].h_samp_factor);
      const auto down = static_cast<unsigned>(jpeg.comp_info[c].v_samp_factor);
      for (unsigned i = 0; i < across * down; ++i) {
        CodedBlock block;
        std::memcpy(block.coefficients,
                    rows[static_cast<size_t>(c)][i / across][mcu * across + i % across],
                    sizeof(block));
        picture->blocks.push_back(block);
        picture->component.push_back(static_cast<uint8_t>(c));
      }
    }
  }
}

void FindScan(CodedPicture* picture) {
  const std::vector<uint8_t>& file = picture->file;
  size_t at = 2;
  while (file.at(at + 1) != 0xDA) at += 2 + (size_t{file.at(at + 2)} << 8 | file.at(at + 3));
  picture->scan_begin = at + 2 + (size_t{file.at(at + 2)} << 8 | file.at(at + 3));
  picture->scan_end = file.size() - 2;
}

CodedPicture MakePicture(int quality) {
  CodedPicture picture;
  picture.file = Compress(Original(), quality);
  FindScan(&picture);
  jpeg_decompress_struct jpeg;
  jpeg_error_mgr errors;
  jpeg.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&jpeg);
  jpeg_mem_src(&jpeg, picture.file.data(), picture.file.size());
  jpeg_read_header(&jpeg, TRUE);
  jvirt_barray_ptr* arrays = jpeg_read_coefficients(&jpeg);
  for (int i = 0; i < 2; ++i) {
    picture.dc[i] = Lists(*jpeg.dc_huff_tbl_ptrs[i]);
    picture.ac[i] = Lists(*jpeg.ac_huff_tbl_ptrs[i]);
  }
  for (JDIMENSION row = 0; row < (jpeg.image_height + 15) / 16; ++row) {
    std::vector<JBLOCKARRAY> rows;
    for (int c = 0; c < 3; ++c) {
      const auto down = static_cast<JDIMENSION>(jpeg.comp_info[c].v_samp_factor);
      rows.push_back(jpeg.mem->access_virt_barray(reinterpret_cast<j_common_ptr>(&jpeg), arrays[c],
                                                  row * down, down, FALSE));
    }
    AppendMcuRow(jpeg, rows, &picture);
  }
  jpeg_finish_decompress(&jpeg);
  jpeg_destroy_decompress(&jpeg);
  return picture;
}

}  // namespace

const CodedPicture& PictureAt(int quality) {
  static std::map<int, CodedPicture> pictures;
  const auto found = pictures.find(quality);
  if (found != pictures.end()) return found->second;
  return pictures[quality] = MakePicture(quality);
}

}  // namespace bench
