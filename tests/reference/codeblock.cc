// SPDX-License-Identifier: MIT
#include "reference/codeblock.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <functional>
#include <memory>

namespace reference {
namespace {

// A row of table C.2: the estimate of the less probable symbol, the next states, and whether the
// symbols are exchanged.
struct Estimate {
  uint32_t qe;
  int nmps;
  int nlps;
  bool switches;
};
constexpr Estimate kEstimates[47] = {
    {0x5601, 1, 1, true},    {0x3401, 2, 6, false},   {0x1801, 3, 9, false},
    {0x0AC1, 4, 12, false},  {0x0521, 5, 29, false},  {0x0221, 38, 33, false},
    {0x5601, 7, 6, true},    {0x5401, 8, 14, false},  {0x4801, 9, 14, false},
    {0x3801, 10, 14, false}, {0x3001, 11, 17, false}, {0x2401, 12, 18, false},
    {0x1C01, 13, 20, false}, {0x1601, 29, 21, false}, {0x5601, 15, 14, true},
    {0x5401, 16, 14, false}, {0x5101, 17, 15, false}, {0x4801, 18, 16, false},
    {0x3801, 19, 17, false}, {0x3401, 20, 18, false}, {0x3001, 21, 19, false},
    {0x2801, 22, 19, false}, {0x2401, 23, 20, false}, {0x2201, 24, 21, false},
    {0x1C01, 25, 22, false}, {0x1801, 26, 23, false}, {0x1601, 27, 24, false},
    {0x1401, 28, 25, false}, {0x1201, 29, 26, false}, {0x1101, 30, 27, false},
    {0x0AC1, 31, 28, false}, {0x09C1, 32, 29, false}, {0x08A1, 33, 30, false},
    {0x0521, 34, 31, false}, {0x0441, 35, 32, false}, {0x02A1, 36, 33, false},
    {0x0221, 37, 34, false}, {0x0141, 38, 35, false}, {0x0111, 39, 36, false},
    {0x0085, 40, 37, false}, {0x0049, 41, 38, false}, {0x0025, 42, 39, false},
    {0x0015, 43, 40, false}, {0x0009, 44, 41, false}, {0x0005, 45, 42, false},
    {0x0001, 45, 43, false}, {0x5601, 46, 46, false}};

constexpr int kRunContext = 17, kUniformContext = 18, kContextCount = 19;

struct Context {
  int state = 0;
  int mps = 0;
};
using Contexts = std::array<Context, kContextCount>;

Contexts InitialContexts() {
  Contexts contexts;
  contexts[0].state = 4;
  contexts[kRunContext].state = 3;
  contexts[kUniformContext].state = 46;
  return contexts;
}

void AfterLps(Context* context) {
  const Estimate& estimate = kEstimates[context->state];
  if (estimate.switches) context->mps = 1 - context->mps;
  context->state = estimate.nlps;
}

void AfterMps(Context* context) { context->state = kEstimates[context->state].nmps; }

// Codes a decision: an encoder writes the bit, a decoder finds it.
class Coder {
 public:
  virtual ~Coder() = default;
  virtual int Decide(int context, int bit) = 0;
};

// Figures C.3 to C.11.
class MqEncoder : public Coder {
 public:
  // Appends to bytes. The byte before them only matters in not being FF.
  MqEncoder(std::vector<uint8_t>* bytes, Contexts* contexts)
      : bytes_(*bytes), contexts_(*contexts) {
    start_ = bytes_.size();
  }

  int Decide(int context, int bit) override {
    Context& cx = contexts_[static_cast<size_t>(context)];
    const uint32_t qe = kEstimates[cx.state].qe;
    a_ -= qe;
    if (bit != cx.mps) {
      if (a_ < qe)
        c_ += qe;
      else
        a_ = qe;
      AfterLps(&cx);
      Renormalize();
    } else if ((a_ & 0x8000) == 0) {
      if (a_ < qe)
        a_ = qe;
      else
        c_ += qe;
      AfterMps(&cx);
      Renormalize();
    } else {
      c_ += qe;
    }
    return bit;
  }

  void Flush() {
    const uint32_t limit = c_ + a_;
    c_ |= 0xFFFF;
    if (c_ >= limit) c_ -= 0x8000;
    c_ <<= ct_;
    ByteOut();
    c_ <<= ct_;
    ByteOut();
    if (LastIsFf()) bytes_.pop_back();
  }

  // D.4.2. The last byte remains in the byte register and is dropped.
  void FlushPredictably() {
    int k = 11 - ct_ + 1;
    while (k > 0) {
      c_ <<= ct_;
      ct_ = 0;
      ByteOut();
      k -= ct_;
    }
    if (!LastIsFf()) ByteOut();
    bytes_.pop_back();
  }

 private:
  void Renormalize() {
    do {
      a_ <<= 1;
      c_ <<= 1;
      if (--ct_ == 0) ByteOut();
    } while ((a_ & 0x8000) == 0);
  }

  bool LastIsFf() const { return bytes_.size() > start_ && bytes_.back() == 0xFF; }

  void ByteOut() {
    if (!LastIsFf() && c_ >= 0x8000000) {
      ++bytes_.back();  // never before the segment: the first byte has no carry
      if (LastIsFf()) c_ &= 0x7FFFFFF;
    }
    if (LastIsFf()) {
      bytes_.push_back(static_cast<uint8_t>(c_ >> 20));
      c_ &= 0xFFFFF;
      ct_ = 7;
    } else {
      bytes_.push_back(static_cast<uint8_t>(c_ >> 19));
      c_ &= 0x7FFFF;
      ct_ = 8;
    }
  }

  std::vector<uint8_t>& bytes_;
  Contexts& contexts_;
  size_t start_;
  uint32_t a_ = 0x8000;
  uint32_t c_ = 0;
  int ct_ = 12;
};

// Figures C.15 to C.20.
class MqDecoder : public Coder {
 public:
  MqDecoder(const uint8_t* bytes, size_t size, Contexts* contexts)
      : bytes_(bytes), size_(size), contexts_(*contexts) {
    c_ = Byte(0) << 16;
    ByteIn();
    c_ <<= 7;
    ct_ -= 7;
  }

  int Decide(int context, int /*bit*/) override {
    Context& cx = contexts_[static_cast<size_t>(context)];
    const uint32_t qe = kEstimates[cx.state].qe;
    a_ -= qe;
    int bit = cx.mps;
    if (c_ >> 16 < qe) {
      if (a_ < qe) {
        AfterMps(&cx);
      } else {
        bit = 1 - cx.mps;
        AfterLps(&cx);
      }
      a_ = qe;
      Renormalize();
    } else {
      c_ -= qe << 16;
      if ((a_ & 0x8000) == 0) {
        if (a_ < qe) {
          bit = 1 - cx.mps;
          AfterLps(&cx);
        } else {
          AfterMps(&cx);
        }
        Renormalize();
      }
    }
    return bit;
  }

  // Whether an encoder with predictable termination would end the segment like this. The segment
  // must have exactly the bytes that contain the bits shifted in so far, except an FF at the end;
  // and the code may differ from the lower end of the interval only below the lowest bit of these
  // bytes.
  bool EndsPredictably() const {
    if (size_ > 0 && bytes_[size_ - 1] == 0xFF) return false;
    int64_t held = 0;
    size_t count = 0;
    for (; held < shifts_; ++count) held += count > 0 && Byte(count - 1) == 0xFF ? 7 : 8;
    const bool is_ff_left_out = count == size_ + 1;
    if (count != size_ && !is_ff_left_out) return false;
    return c_ >> 16 < 1u << (15 + shifts_ - held);
  }

 private:
  uint32_t Byte(size_t i) const { return i < size_ ? bytes_[i] : 0xFF; }

  void ByteIn() {
    if (Byte(position_) == 0xFF) {
      if (Byte(position_ + 1) > 0x8F) {
        c_ += 0xFF00;
        ct_ = 8;
      } else {
        ++position_;
        c_ += Byte(position_) << 9;
        ct_ = 7;
      }
    } else {
      ++position_;
      c_ += Byte(position_) << 8;
      ct_ = 8;
    }
  }

  void Renormalize() {
    do {
      if (ct_ == 0) ByteIn();
      a_ <<= 1;
      c_ <<= 1;
      --ct_;
      ++shifts_;
    } while ((a_ & 0x8000) == 0);
  }

  const uint8_t* bytes_;
  size_t size_;
  Contexts& contexts_;
  size_t position_ = 0;
  int64_t shifts_ = 0;
  uint32_t a_ = 0x8000;
  uint32_t c_ = 0;
  int ct_ = 0;
};

// Raw bits; a byte after FF has one bit less.
class RawEncoder : public Coder {
 public:
  explicit RawEncoder(std::vector<uint8_t>* bytes) : bytes_(*bytes) {}

  int Decide(int /*context*/, int bit) override {
    value_ = value_ << 1 | bit;
    if (--room_ == 0) PutByte();
    return bit;
  }
  // Pads the last byte with 0, 1, 0 ...; an FF at the end is omitted, or with predictable
  // termination followed by a padding byte.
  void Flush(bool is_predictable) {
    for (int pad = 0; HasPart(); pad ^= 1) Decide(0, pad);
    if (!after_ff_) return;
    if (!is_predictable) return bytes_.pop_back();
    for (int i = 0; i < 7; ++i) Decide(0, i % 2);
  }
  bool HasPart() const { return room_ < (after_ff_ ? 7 : 8); }

 private:
  void PutByte() {
    bytes_.push_back(static_cast<uint8_t>(value_));
    after_ff_ = value_ == 0xFF;
    room_ = after_ff_ ? 7 : 8;
    value_ = 0;
  }

  std::vector<uint8_t>& bytes_;
  int value_ = 0;
  int room_ = 8;
  bool after_ff_ = false;
};

class RawDecoder : public Coder {
 public:
  RawDecoder(const uint8_t* bytes, size_t size) : bytes_(bytes), size_(size) {}

  int Decide(int /*context*/, int /*bit*/) override {
    if (left_ == 0) {
      left_ = value_ == 0xFF ? 7 : 8;
      value_ = position_ < size_ ? bytes_[position_] : 0xFF;
      if (position_ < size_) ++position_;
    }
    bits_.push_back(value_ >> --left_ & 1);
    return bits_.back();
  }

  // Whether predictable termination ends the segment like this: writes the same bits again and
  // compares. The bit that is stuffed after FF only matters in a padding byte; and an FF at the end
  // may have been omitted.
  bool EndsPredictably() const {
    std::vector<uint8_t> segment(bytes_, bytes_ + size_), bytes;
    RawEncoder encoder(&bytes);
    for (const int bit : bits_) encoder.Decide(0, bit);
    const bool ends_in_ff = !encoder.HasPart() && !bytes.empty() && bytes.back() == 0xFF;
    if (ends_in_ff && size_ == bytes.size() + 1 && segment.back() != 0x2A) return false;
    if (ends_in_ff && size_ + 1 == bytes.size()) segment.push_back(0xFF), segment.push_back(0x2A);
    encoder.Flush(true);
    for (size_t i = 1; i < segment.size(); ++i) {
      if (segment[i - 1] == 0xFF) segment[i] &= 0x7F;
    }
    return segment == bytes;
  }

 private:
  const uint8_t* bytes_;
  size_t size_;
  size_t position_ = 0;
  int value_ = 0;
  int left_ = 0;
  std::vector<int> bits_;
};

struct Sample {
  bool significant = false;
  bool negative = false;
  bool refined = false;
  bool visited = false;
};

// Table D.1.
int ZeroContext(int subband, int h, int v, int d) {
  if (subband == 2) std::swap(h, v);
  if (subband == 3) {
    if (d >= 3) return 8;
    if (d == 2) return h + v >= 1 ? 7 : 6;
    if (d == 1) return h + v >= 2 ? 5 : h + v == 1 ? 4 : 3;
    return std::min(h + v, 2);
  }
  if (h == 2) return 8;
  if (h == 1) return v >= 1 ? 7 : d >= 1 ? 6 : 5;
  if (v > 0) return v == 2 ? 4 : 3;
  return std::min(d, 2);
}

// Called for each sample that a pass codes, with its index, the plane, the bit and whether the
// sample was significant before.
using Listener = std::function<void(size_t index, int plane, int bit, bool refined)>;

// The passes of a block. The samples are those to encode, or those decoded so far.
class Passes {
 public:
  Passes(int width, int height, int subband, int style, std::vector<uint32_t>* data, bool decodes)
      : width_(width),
        height_(height),
        subband_(subband),
        style_(style),
        decodes_(decodes),
        data_(*data),
        samples_(data->size()) {}

  void set_listener(Listener listener) { listener_ = std::move(listener); }

  // Returns false if the segmentation symbol is wrong.
  bool Run(int type, int plane, Coder* coder, bool is_raw) {
    plane_ = plane;
    coder_ = coder;
    is_raw_ = is_raw;
    for (int top = 0; top < height_; top += 4) {
      for (int x = 0; x < width_; ++x) {
        const int bottom = std::min(top + 4, height_);
        if (type == 0) Significance(x, top, bottom);
        if (type == 1) Refinement(x, top, bottom);
        if (type == 2) Cleanup(x, top, bottom);
      }
    }
    if (type != 2) return true;
    for (Sample& sample : samples_) sample.visited = false;
    if ((style_ & kSegmentationSymbols) == 0) return true;
    int symbol = 0;
    for (int i = 3; i >= 0; --i) {
      symbol = symbol << 1 | coder_->Decide(kUniformContext, 0xA >> i & 1);
    }
    return symbol == 0xA;
  }

 private:
  size_t At(int x, int y) const {
    return static_cast<size_t>(y) * static_cast<size_t>(width_) + static_cast<size_t>(x);
  }

  // A neighbour of a sample in row `from`. With vertically causal contexts, rows of the next stripe
  // count as insignificant.
  const Sample* Neighbour(int x, int y, int from) const {
    if (x < 0 || x >= width_ || y < 0 || y >= height_) return nullptr;
    if ((style_ & kCausal) != 0 && y / 4 > from / 4) return nullptr;
    return &samples_[At(x, y)];
  }
  int IsSignificant(int x, int y, int from) const {
    const Sample* sample = Neighbour(x, y, from);
    return sample != nullptr && sample->significant ? 1 : 0;
  }
  int SignOf(int x, int y, int from) const {
    const Sample* sample = Neighbour(x, y, from);
    if (sample == nullptr || !sample->significant) return 0;
    return sample->negative ? -1 : 1;
  }
  int Horizontal(int x, int y) const {
    return IsSignificant(x - 1, y, y) + IsSignificant(x + 1, y, y);
  }
  int Vertical(int x, int y) const {
    return IsSignificant(x, y - 1, y) + IsSignificant(x, y + 1, y);
  }
  int Diagonal(int x, int y) const {
    return IsSignificant(x - 1, y - 1, y) + IsSignificant(x + 1, y - 1, y) +
           IsSignificant(x - 1, y + 1, y) + IsSignificant(x + 1, y + 1, y);
  }
  bool HasNeighbours(int x, int y) const {
    return Horizontal(x, y) + Vertical(x, y) + Diagonal(x, y) > 0;
  }
  int BitOf(int x, int y) const {
    return decodes_ ? 0 : static_cast<int>(data_[At(x, y)] >> plane_ & 1);
  }

  void Tell(int x, int y, int bit, bool refined) {
    if (listener_) listener_(At(x, y), plane_, bit, refined);
  }

  int CodeZero(int x, int y) {
    const int context = ZeroContext(subband_, Horizontal(x, y), Vertical(x, y), Diagonal(x, y));
    return coder_->Decide(context, BitOf(x, y));
  }

  // Tables D.2 and D.3.
  void CodeSign(int x, int y) {
    const int h = std::clamp(SignOf(x - 1, y, y) + SignOf(x + 1, y, y), -1, 1);
    const int v = std::clamp(SignOf(x, y - 1, y) + SignOf(x, y + 1, y), -1, 1);
    const bool flips = h < 0 || (h == 0 && v < 0);
    const int context = h == 0 ? 9 + std::abs(v) : 12 + h * v;
    const int flip = flips && !is_raw_ ? 1 : 0;
    Sample& sample = samples_[At(x, y)];
    const int sign = decodes_ ? 0 : static_cast<int>(data_[At(x, y)] >> 31);
    sample.negative = (coder_->Decide(context, sign ^ flip) ^ flip) != 0;
    sample.significant = true;
    if (decodes_) {
      const uint32_t magnitude = static_cast<uint32_t>((uint64_t{3} << plane_) >> 1);
      data_[At(x, y)] = (sample.negative ? 0x80000000u : 0u) | magnitude;
    }
  }

  void Significance(int x, int top, int bottom) {
    for (int y = top; y < bottom; ++y) {
      Sample& sample = samples_[At(x, y)];
      if (sample.significant || !HasNeighbours(x, y)) continue;
      const int bit = is_raw_ ? coder_->Decide(0, BitOf(x, y)) : CodeZero(x, y);
      if (bit != 0) CodeSign(x, y);
      sample.visited = true;
      Tell(x, y, bit, false);
    }
  }

  void Refinement(int x, int top, int bottom) {
    for (int y = top; y < bottom; ++y) {
      Sample& sample = samples_[At(x, y)];
      if (!sample.significant || sample.visited) continue;
      const int context = sample.refined ? 16 : HasNeighbours(x, y) ? 15 : 14;
      const int bit = coder_->Decide(context, BitOf(x, y));
      sample.refined = true;
      if (decodes_) {
        uint32_t& value = data_[At(x, y)];
        const uint32_t half = plane_ > 0 ? 1u << (plane_ - 1) : 0;
        value = (value & ~(1u << plane_)) | static_cast<uint32_t>(bit) << plane_ | half;
      }
      Tell(x, y, bit, true);
    }
  }

  void Cleanup(int x, int top, int bottom) {
    int y = top;
    bool is_run = bottom - top == 4;
    for (int row = top; row < bottom; ++row) {
      const Sample& sample = samples_[At(x, row)];
      if (sample.significant || sample.visited || HasNeighbours(x, row)) is_run = false;
    }
    bool is_known = false;  // whether it is known that the sample in row y becomes significant
    if (is_run) {
      int first = 0;
      while (!decodes_ && first < 4 && BitOf(x, top + first) == 0) ++first;
      if (coder_->Decide(kRunContext, first < 4 ? 1 : 0) == 0) {
        for (int row = top; row < bottom; ++row) Tell(x, row, 0, false);
        return;
      }
      const int high = coder_->Decide(kUniformContext, first >> 1 & 1);
      first = high << 1 | coder_->Decide(kUniformContext, first & 1);
      for (int row = top; row < top + first; ++row) Tell(x, row, 0, false);
      y = top + first;
      is_known = true;
    }
    for (; y < bottom; ++y) {
      const Sample& sample = samples_[At(x, y)];
      if (!is_known && (sample.significant || sample.visited)) continue;
      const int bit = is_known ? 1 : CodeZero(x, y);
      if (bit != 0) CodeSign(x, y);
      Tell(x, y, bit, false);
      is_known = false;
    }
  }

  int width_;
  int height_;
  int subband_;
  int style_;
  bool decodes_;
  std::vector<uint32_t>& data_;
  std::vector<Sample> samples_;
  Listener listener_;
  int plane_ = 0;
  Coder* coder_ = nullptr;
  bool is_raw_ = false;
};

// 0 significance propagation, 1 refinement, 2 cleanup.
int TypeOf(int pass) { return (pass + 2) % 3; }

bool IsRaw(int pass, int style) {
  return (style & kBypass) != 0 && pass >= 10 && TypeOf(pass) != 2;
}

// The first pass after the segment that holds `pass`.
int SegmentEnd(int pass, int style) {
  if ((style & kTerminate) != 0) return pass + 1;
  if ((style & kBypass) == 0) return 91;  // the largest possible number of passes
  if (pass < 10) return 10;
  return TypeOf(pass) == 0 ? pass + 2 : pass + 1;
}

// The reduction of the squared error by a bit, in units of the plane's squared value, with midpoint
// reconstruction; on the lowest plane the decoder reaches the value itself. Of the value 7 bits
// from the plane down are used.
double Gain(uint32_t value, int plane, bool is_lowest, bool refined) {
  const uint64_t bits = uint64_t{value & 0x7FFFFFFF} << 6 >> plane & 127;
  const double x = static_cast<double>(bits) / 64;
  if (refined) {
    const double middle = x >= 1 ? 1.5 : 0.5;
    return (x - 1) * (x - 1) - (is_lowest ? 0 : (x - middle) * (x - middle));
  }
  if (!is_lowest) return x * x - (x - 1.5) * (x - 1.5);
  const double even = static_cast<double>(bits / 2 * 2) / 64;
  return even * even;
}

// Forwards decisions to a coder and records them.
struct Decision {
  int context;
  int bit;
};
class Recorder : public Coder {
 public:
  Recorder(Coder* coder, std::vector<Decision>* decisions)
      : coder_(*coder), decisions_(*decisions) {}

  int Decide(int context, int bit) override {
    decisions_.push_back({context, bit});
    return coder_.Decide(context, bit);
  }

 private:
  Coder& coder_;
  std::vector<Decision>& decisions_;
};

// Encodes the passes of a block, and records the decisions of each.
class BlockEncoder {
 public:
  BlockEncoder(const CodeBlock& block, int subband, int style)
      : block_(block), subband_(subband), style_(style), data_(block.samples) {}

  CodedBlock Encode(int magnitude_bits) {
    uint32_t all = 0;
    for (const uint32_t sample : data_) all |= sample & 0x7FFFFFFF;
    CodedBlock coded;
    for (; all != 0; all >>= 1) ++coded.planes;
    const int lowest = 31 - std::clamp(magnitude_bits, 0, 31);
    const int count = std::max(3 * (coded.planes - lowest) - 2, 0);
    Passes passes(block_.width, block_.height, subband_, style_, &data_, false);
    for (int pass = 0; pass < count; ++pass) {
      EncodePass(pass, count, coded.planes - 1 - (pass + 2) / 3, lowest, &passes, &coded);
    }
    return coded;
  }

 private:
  void EncodePass(int pass, int count, int plane, int lowest, Passes* passes, CodedBlock* coded) {
    if (first_ == pass) StartSegment(pass, coded);
    double gain = 0;
    passes->set_listener([&](size_t index, int p, int bit, bool refined) {
      if (bit != 0 || refined) gain += Gain(data_[index], p, p == lowest, refined);
    });
    const bool is_raw = IsRaw(pass, style_);
    if ((style_ & kReset) != 0) contexts_ = InitialContexts();
    decisions_.emplace_back();
    Recorder recorder(is_raw ? static_cast<Coder*>(raw_.get()) : mq_.get(), &decisions_.back());
    passes->Run(TypeOf(pass), plane, &recorder, is_raw);
    CodedPass result;
    result.distortion = gain * static_cast<double>(uint64_t{1} << (plane - lowest)) *
                        static_cast<double>(uint64_t{1} << (plane - lowest));
    result.rate = static_cast<int32_t>(coded->bytes.size()) + (is_raw && raw_->HasPart() ? 1 : 0);
    coded->passes.push_back(result);
    if (pass + 1 == count || SegmentEnd(pass, style_) == pass + 1) EndSegment(pass, is_raw, coded);
  }

  void StartSegment(int pass, CodedBlock* coded) {
    start_ = coded->bytes.size();
    contexts_at_start_ = contexts_;
    decisions_.clear();
    if (IsRaw(pass, style_)) {
      raw_ = std::make_unique<RawEncoder>(&coded->bytes);
    } else {
      mq_ = std::make_unique<MqEncoder>(&coded->bytes, &contexts_);
    }
  }

  void EndSegment(int pass, bool is_raw, CodedBlock* coded) {
    const bool is_predictable = (style_ & kPredictable) != 0;
    if (is_raw) {
      raw_->Flush(is_predictable);
    } else if (is_predictable) {
      mq_->FlushPredictably();
    } else {
      mq_->Flush();
    }
    size_t length = 0;
    for (int k = first_; k <= pass; ++k) {
      CodedPass& result = coded->passes[static_cast<size_t>(k)];
      length = is_raw ? RawLength(result, *coded) : ShortestLength(k, length, *coded);
      if (k == pass && (is_raw || is_predictable)) length = coded->bytes.size() - start_;
      result.truncated_length = static_cast<int32_t>(start_ + length);
    }
    coded->bytes.resize(start_ + length);
    const auto total = static_cast<int32_t>(coded->bytes.size());
    for (int k = first_; k <= pass; ++k) {
      CodedPass& result = coded->passes[static_cast<size_t>(k)];
      result.rate = k == pass ? total : std::min(result.rate, total);
    }
    first_ = pass + 1;
    coded->segment_lengths.push_back(static_cast<int32_t>(length));
  }

  // The number of bytes that contain all bits so far. An FF at the end is not needed, because
  // decoders read ones there.
  size_t RawLength(const CodedPass& pass, const CodedBlock& coded) const {
    size_t end = std::min(static_cast<size_t>(pass.rate), coded.bytes.size());
    if (end > start_ && coded.bytes[end - 1] == 0xFF) --end;
    return end - start_;
  }

  // Found by trying, starting from the length of the pass before.
  size_t ShortestLength(int pass, size_t length, const CodedBlock& coded) const {
    while (!CanDecode(pass, length, coded)) ++length;
    return length;
  }

  bool CanDecode(int last, size_t length, const CodedBlock& coded) const {
    Contexts contexts = contexts_at_start_;
    MqDecoder decoder(coded.bytes.data() + start_, length, &contexts);
    for (int k = first_; k <= last; ++k) {
      if ((style_ & kReset) != 0) contexts = InitialContexts();
      for (const Decision& decision : decisions_[static_cast<size_t>(k - first_)]) {
        if (decoder.Decide(decision.context, 0) != decision.bit) return false;
      }
    }
    return true;
  }

  const CodeBlock& block_;
  int subband_;
  int style_;
  std::vector<uint32_t> data_;
  Contexts contexts_ = InitialContexts();
  std::unique_ptr<MqEncoder> mq_;
  std::unique_ptr<RawEncoder> raw_;
  int first_ = 0;  // the first pass of the segment
  size_t start_ = 0;
  Contexts contexts_at_start_;
  std::vector<std::vector<Decision>> decisions_;  // of each pass of the segment
};

// Decodes segment after segment.
class BlockDecoder {
 public:
  BlockDecoder(int width, int height, int subband, int magnitude_bits, int passes, int style,
               DecodedBlock* block)
      : style_(style),
        magnitude_bits_(std::clamp(magnitude_bits, 0, 31)),
        block_(*block),
        passes_(width, height, subband, style, &block->samples, true) {
    block_.bit_plane = magnitude_bits_ - 1;
    block_.passes_left = passes;
  }

  void Step(const uint8_t* bytes, size_t size) {
    if (IsDone()) return;
    const int end = SegmentEnd(pass_, style_);
    MqDecoder mq(bytes, size, &contexts_);
    RawDecoder raw(bytes, size);
    const bool is_raw = IsRaw(pass_, style_);
    while (pass_ < end && !IsDone() && !block_.failed) {
      if ((style_ & kReset) != 0) contexts_ = InitialContexts();
      block_.bit_plane = magnitude_bits_ - 1 - (pass_ + 2) / 3;
      Coder* coder = is_raw ? static_cast<Coder*>(&raw) : &mq;
      block_.failed = !passes_.Run(TypeOf(pass_), block_.bit_plane, coder, is_raw);
      ++pass_;
      --block_.passes_left;
    }
    // Only if the encoder must have ended the segment here.
    if ((style_ & kPredictable) == 0 || pass_ != end) return;
    if (!(is_raw ? raw.EndsPredictably() : mq.EndsPredictably())) block_.failed = true;
  }

 private:
  bool IsDone() const { return block_.passes_left < 1 || pass_ >= 3 * magnitude_bits_ - 2; }

  int style_;
  int magnitude_bits_;
  DecodedBlock& block_;
  Passes passes_;
  Contexts contexts_ = InitialContexts();
  int pass_ = 0;
};

}  // namespace

CodedBlock EncodeCodeBlock(const CodeBlock& block, int subband, int magnitude_bits, int style) {
  return BlockEncoder(block, subband, style).Encode(magnitude_bits);
}

DecodedBlock DecodeCodeBlock(int width, int height, const std::vector<uint8_t>& bytes,
                             const std::vector<int32_t>& segment_lengths, int subband,
                             int magnitude_bits, int passes, int flags) {
  DecodedBlock block;
  block.samples.assign(static_cast<size_t>(width) * static_cast<size_t>(height), 0);
  BlockDecoder decoder(width, height, subband, magnitude_bits, passes, flags, &block);
  size_t at = 0;
  for (const int32_t length : segment_lengths) {
    if (block.failed) break;
    const auto size = static_cast<size_t>(std::max(length, 0));
    decoder.Step(bytes.data() + at, size);
    at += size;
  }
  const int p = block.bit_plane;
  if (p < 1) return block;
  const uint32_t above = ~((1u << p) - 1);
  for (uint32_t& sample : block.samples) {
    if (block.failed && (flags & 0x10000) != 0) {
      sample &= above;
      sample = (sample & 0x7FFFFFFF) != 0 ? sample | 1u << p : 0;
    }
    if ((flags & 0x40000) == 0) sample &= above;
  }
  return block;
}

}  // namespace reference
