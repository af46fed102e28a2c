// SPDX-License-Identifier: MIT
#include "openjpeg_codec.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include <openjpeg.h>

namespace rival {
namespace {

struct Memory {
  std::vector<uint8_t>* bytes;
  size_t at = 0;
};

OPJ_SIZE_T Read(void* to, OPJ_SIZE_T count, void* memory) {
  auto* own = static_cast<Memory*>(memory);
  const size_t got = std::min<size_t>(count, own->bytes->size() - own->at);
  if (got == 0) return static_cast<OPJ_SIZE_T>(-1);
  std::memcpy(to, own->bytes->data() + own->at, got);
  own->at += got;
  return got;
}

OPJ_SIZE_T Write(void* from, OPJ_SIZE_T count, void* memory) {
  auto* own = static_cast<Memory*>(memory);
  own->bytes->resize(std::max(own->bytes->size(), own->at + count));
  std::memcpy(own->bytes->data() + own->at, from, count);
  own->at += count;
  return count;
}

OPJ_OFF_T Skip(OPJ_OFF_T count, void* memory) {
  static_cast<Memory*>(memory)->at += static_cast<size_t>(count);
  return count;
}

OPJ_BOOL Seek(OPJ_OFF_T to, void* memory) {
  static_cast<Memory*>(memory)->at = static_cast<size_t>(to);
  return OPJ_TRUE;
}

opj_stream_t* Open(Memory* memory, bool reads) {
  opj_stream_t* stream = opj_stream_create(1 << 20, reads ? OPJ_TRUE : OPJ_FALSE);
  opj_stream_set_user_data(stream, memory, nullptr);
  opj_stream_set_user_data_length(stream, memory->bytes->size());
  opj_stream_set_read_function(stream, Read);
  opj_stream_set_write_function(stream, Write);
  opj_stream_set_skip_function(stream, Skip);
  opj_stream_set_seek_function(stream, Seek);
  return stream;
}

void Require(bool is_good) {
  if (!is_good) throw std::runtime_error("OpenJPEG refuses the picture");
}

opj_image_t* MakeImage(const Picture& picture) {
  opj_image_cmptparm_t component = {};
  component.dx = component.dy = 1;
  component.w = static_cast<OPJ_UINT32>(picture.width);
  component.h = static_cast<OPJ_UINT32>(picture.height);
  component.prec = static_cast<OPJ_UINT32>(picture.bits);
  component.sgnd = picture.is_signed ? 1 : 0;
  std::vector<opj_image_cmptparm_t> components(picture.planes.size(), component);
  opj_image_t* image =
      opj_image_create(static_cast<OPJ_UINT32>(components.size()), components.data(),
                       components.size() < 3 ? OPJ_CLRSPC_GRAY : OPJ_CLRSPC_SRGB);
  image->x1 = component.w;
  image->y1 = component.h;
  for (size_t i = 0; i < components.size(); ++i) {
    std::memcpy(image->comps[i].data, picture.planes[i].data(), picture.planes[i].size() * 4);
  }
  return image;
}

}  // namespace

std::vector<uint8_t> Encode(const Picture& picture, const Options& options) {
  opj_image_t* image = MakeImage(picture);
  opj_cparameters_t parameters;
  opj_set_default_encoder_parameters(&parameters);
  parameters.numresolution = options.resolutions;
  parameters.irreversible = options.is_reversible ? 0 : 1;
  parameters.tcp_numlayers = 1;
  parameters.tcp_rates[0] = static_cast<float>(options.ratio);
  parameters.cp_disto_alloc = 1;
  parameters.tcp_mct = picture.planes.size() >= 3 ? 1 : 0;
  opj_codec_t* codec = opj_create_compress(OPJ_CODEC_J2K);
  std::vector<uint8_t> bytes;
  Memory memory = {&bytes};
  opj_stream_t* stream = Open(&memory, false);
  const bool is_good = opj_setup_encoder(codec, &parameters, image) != 0 &&
                       opj_start_compress(codec, image, stream) != 0 &&
                       opj_encode(codec, stream) != 0 && opj_end_compress(codec, stream) != 0;
  opj_stream_destroy(stream);
  opj_destroy_codec(codec);
  opj_image_destroy(image);
  Require(is_good);
  return bytes;
}

Picture Decode(std::vector<uint8_t>* codestream) {
  opj_dparameters_t parameters;
  opj_set_default_decoder_parameters(&parameters);
  opj_codec_t* codec = opj_create_decompress(OPJ_CODEC_J2K);
  Memory memory = {codestream};
  opj_stream_t* stream = Open(&memory, true);
  opj_image_t* image = nullptr;
  const bool is_good = opj_setup_decoder(codec, &parameters) != 0 &&
                       opj_read_header(stream, codec, &image) != 0 &&
                       opj_decode(codec, stream, image) != 0;
  Picture picture;
  for (OPJ_UINT32 i = 0; is_good && i < image->numcomps; ++i) {
    const opj_image_comp_t& component = image->comps[i];
    picture.width = static_cast<int>(component.w);
    picture.height = static_cast<int>(component.h);
    picture.planes.emplace_back(component.data, component.data + size_t{component.w} * component.h);
  }
  opj_stream_destroy(stream);
  opj_destroy_codec(codec);
  opj_image_destroy(image);
  Require(is_good);
  return picture;
}

}  // namespace rival
