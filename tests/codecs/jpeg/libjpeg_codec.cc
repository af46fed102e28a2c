// SPDX-License-Identifier: MIT
#include "tests/codecs/jpeg/libjpeg_codec.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include <jpeglib.h>

namespace libjpeg_codec {
namespace {

// Errors become exceptions: the library is compiled with unwind tables.
[[noreturn]] void ThrowError(j_common_ptr info) {
  char text[JMSG_LENGTH_MAX];
  info->err->format_message(info, text);
  throw std::runtime_error(text);
}

jpeg_error_mgr* MakeErrorManager(jpeg_error_mgr* manager) {
  jpeg_std_error(manager);
  manager->error_exit = ThrowError;
  manager->output_message = [](j_common_ptr) {};
  return manager;
}

struct Compressor {
  Compressor() {
    info.err = MakeErrorManager(&errors);
    jpeg_create_compress(&info);
    jpeg_mem_dest(&info, &memory, &size);
  }
  ~Compressor() {
    jpeg_destroy_compress(&info);
    std::free(memory);
  }
  Compressor(const Compressor&) = delete;
  Compressor& operator=(const Compressor&) = delete;
  Bytes Finish() {
    jpeg_finish_compress(&info);
    return Bytes(memory, memory + size);
  }

  jpeg_compress_struct info{};
  jpeg_error_mgr errors{};
  unsigned char* memory = nullptr;
  unsigned long size = 0;  // NOLINT(google-runtime-int): the library's type
};

struct Decompressor {
  explicit Decompressor(const Bytes& file) {
    info.err = MakeErrorManager(&errors);
    jpeg_create_decompress(&info);
    jpeg_mem_src(&info, file.data(), file.size());
    jpeg_read_header(&info, TRUE);
    info.dct_method = JDCT_ISLOW;
  }
  ~Decompressor() { jpeg_destroy_decompress(&info); }
  Decompressor(const Decompressor&) = delete;
  Decompressor& operator=(const Decompressor&) = delete;
  bool HadWarnings() const { return errors.num_warnings > 0; }

  jpeg_decompress_struct info{};
  jpeg_error_mgr errors{};
};

// One scan for each component, as a script for the library.
std::vector<jpeg_scan_info> ScanForEach(int components) {
  std::vector<jpeg_scan_info> scans(static_cast<size_t>(components));
  for (int i = 0; i < components; ++i) {
    scans[static_cast<size_t>(i)] = {1, {i, 0, 0, 0}, 0, 63, 0, 0};
  }
  return scans;
}

void SetColorSpaces(const zepcodec::Picture& image, const Settings& settings,
                    jpeg_compress_struct* info) {
  info->input_components = image.channels();
  switch (image.layout()) {
    case zepcodec::PixelLayout::kGrey: info->in_color_space = JCS_GRAYSCALE; break;
    case zepcodec::PixelLayout::kGreyAlpha: info->in_color_space = JCS_UNKNOWN; break;
    case zepcodec::PixelLayout::kRgb: info->in_color_space = JCS_RGB; break;
    default: info->in_color_space = JCS_CMYK;
  }
  jpeg_set_defaults(info);
  if (settings.as_rgb) jpeg_set_colorspace(info, JCS_RGB);
  if (image.layout() == zepcodec::PixelLayout::kCmyk) {
    jpeg_set_colorspace(info, settings.as_cmyk ? JCS_CMYK : JCS_YCCK);
    info->write_Adobe_marker = TRUE;
  }
}

zepcodec::Picture ReadAll(Decompressor* decompressor, int scale) {
  jpeg_decompress_struct& info = decompressor->info;
  info.scale_num = 1;
  info.scale_denom = static_cast<unsigned>(scale);
  jpeg_start_decompress(&info);
  const auto layout = zepcodec::LayoutOfComponents(static_cast<size_t>(info.output_components));
  zepcodec::Picture image;
  if (!image.Resize(static_cast<int>(info.output_width), static_cast<int>(info.output_height),
                    layout)) {
    std::abort();
  }
  while (info.output_scanline < info.output_height) {
    JSAMPROW rows[] = {image.Row(static_cast<int>(info.output_scanline))};
    jpeg_read_scanlines(&info, rows, 1);
  }
  jpeg_finish_decompress(&info);
  if (layout == zepcodec::PixelLayout::kCmyk) {
    for (size_t i = 0; i < image.SizeInBytes(); ++i) {
      image.Row(0)[i] = static_cast<uint8_t>(255 - image.Row(0)[i]);
    }
  }
  return image;
}

}  // namespace

Bytes Compress(const zepcodec::Picture& image, const Settings& settings) {
  Compressor compressor;
  jpeg_compress_struct& info = compressor.info;
  info.image_width = static_cast<JDIMENSION>(image.width());
  info.image_height = static_cast<JDIMENSION>(image.height());
  SetColorSpaces(image, settings, &info);
  jpeg_set_quality(&info, settings.quality, settings.force_baseline ? TRUE : FALSE);
  info.dct_method = JDCT_ISLOW;
  info.restart_interval = static_cast<unsigned>(settings.restart_interval);
  info.optimize_coding = settings.optimize ? TRUE : FALSE;
  for (int i = 0; i < info.num_components; ++i) {
    const auto& factors = i == 1 || i == 2 ? settings.chroma_sampling : settings.sampling;
    info.comp_info[i].h_samp_factor = factors[0];
    info.comp_info[i].v_samp_factor = factors[1];
  }
  const std::vector<jpeg_scan_info> scans = ScanForEach(info.num_components);
  if (settings.several_scans) {
    info.scan_info = scans.data();
    info.num_scans = static_cast<int>(scans.size());
  }
  if (settings.progressive) jpeg_simple_progression(&info);
  jpeg_start_compress(&info, TRUE);
  const bool invert = image.layout() == zepcodec::PixelLayout::kCmyk;
  Bytes row(image.Stride());
  for (int y = 0; y < image.height(); ++y) {
    const auto stored = [&](uint8_t v) { return static_cast<uint8_t>(invert ? 255 - v : v); };
    std::transform(image.Row(y), image.Row(y) + image.Stride(), row.begin(), stored);
    JSAMPROW rows[] = {row.data()};
    jpeg_write_scanlines(&info, rows, 1);
  }
  return compressor.Finish();
}

zepcodec::Picture Decompress(const Bytes& file, int scale) {
  Decompressor decompressor(file);
  zepcodec::Picture image = ReadAll(&decompressor, scale);
  return decompressor.HadWarnings() ? zepcodec::Picture() : std::move(image);
}

zepcodec::Picture DecompressDamaged(const Bytes& file) {
  try {
    Decompressor decompressor(file);
    return ReadAll(&decompressor, 1);
  } catch (const std::runtime_error&) {
    return zepcodec::Picture();
  }
}

Components DecompressComponents(const Bytes& file) {
  Decompressor decompressor(file);
  jpeg_decompress_struct& info = decompressor.info;
  info.raw_data_out = TRUE;
  jpeg_start_decompress(&info);
  const size_t count = static_cast<size_t>(info.num_components);
  std::vector<std::vector<Bytes>> padded(count);  // component, row
  std::vector<std::vector<JSAMPROW>> rows(count);
  const JDIMENSION mcu_height = static_cast<JDIMENSION>(info.max_v_samp_factor * 8);
  const JDIMENSION mcu_rows = (info.output_height + mcu_height - 1) / mcu_height;
  for (size_t i = 0; i < count; ++i) {
    const jpeg_component_info& component = info.comp_info[i];
    const size_t width = (component.width_in_blocks + 8) * size_t{8};
    padded[i].assign(mcu_rows * static_cast<size_t>(component.v_samp_factor) * 8, Bytes(width));
    for (Bytes& row : padded[i]) rows[i].push_back(row.data());
  }
  for (size_t mcu_row = 0; mcu_row < mcu_rows; ++mcu_row) {
    std::vector<JSAMPARRAY> next;
    for (size_t i = 0; i < count; ++i) {
      const size_t height = static_cast<size_t>(info.comp_info[i].v_samp_factor) * 8;
      next.push_back(rows[i].data() + mcu_row * height);
    }
    jpeg_read_raw_data(&info, next.data(), mcu_height);
  }
  Components result;
  for (size_t i = 0; i < count; ++i) {
    const jpeg_component_info& component = info.comp_info[i];
    const size_t width = component.downsampled_width;
    Components::Component out{
        static_cast<int>(width), static_cast<int>(component.downsampled_height), {}};
    for (size_t y = 0; y < component.downsampled_height; ++y) {
      const uint8_t* row = padded[i][y].data();
      out.samples.insert(out.samples.end(), row, row + width);
    }
    result.components.push_back(std::move(out));
  }
  jpeg_finish_decompress(&info);
  return decompressor.HadWarnings() ? Components() : result;
}

Bytes RecodeCoefficients(const Bytes& file) { return RecodeCoefficients(file, {}); }

Bytes RecodeCoefficients(const Bytes& file, const Recoding& recoding) {
  Decompressor decompressor(file);
  jvirt_barray_ptr* coefficients = jpeg_read_coefficients(&decompressor.info);
  Compressor compressor;
  jpeg_copy_critical_parameters(&decompressor.info, &compressor.info);
  compressor.info.restart_interval = decompressor.info.restart_interval;
  compressor.info.optimize_coding = recoding.optimize ? TRUE : FALSE;
  if (recoding.progressive) jpeg_simple_progression(&compressor.info);
  jpeg_write_coefficients(&compressor.info, coefficients);
  Bytes recoded = compressor.Finish();
  jpeg_finish_decompress(&decompressor.info);
  return recoded;
}

std::vector<Blocks> ReadCoefficients(const Bytes& file) {
  Decompressor decompressor(file);
  jpeg_decompress_struct& info = decompressor.info;
  jvirt_barray_ptr* arrays = jpeg_read_coefficients(&info);
  std::vector<Blocks> result(static_cast<size_t>(info.num_components));
  for (int i = 0; i < info.num_components; ++i) {
    const jpeg_component_info& component = info.comp_info[i];
    for (JDIMENSION y = 0; y < component.height_in_blocks; ++y) {
      JBLOCKARRAY row = info.mem->access_virt_barray(reinterpret_cast<j_common_ptr>(&info),
                                                     arrays[i], y, 1, FALSE);
      for (JDIMENSION x = 0; x < component.width_in_blocks; ++x) {
        Blocks& blocks = result[static_cast<size_t>(i)];
        blocks.insert(blocks.end(), row[0][x], row[0][x] + DCTSIZE2);
      }
    }
  }
  jpeg_finish_decompress(&info);
  return decompressor.HadWarnings() ? std::vector<Blocks>() : result;
}

}  // namespace libjpeg_codec
