// SPDX-License-Identifier: MIT
// A sample at position n depends on the coefficients at positions n - 2 to n + 2 with the 5/3
// wavelet, n - 4 to n + 4 with the 9/7 wavelet. At position 2k of a line lies the low-pass
// coefficient k, at 2k + 1 the high-pass coefficient k.
#include "codecs/jpeg2000/window.h"

namespace zepcodec::jpeg2000 {
namespace {

// Coefficients at positions begin to end - 1.
struct Range {
  int64_t begin, end;
};

Range LowPass(int64_t begin, int64_t end) { return {(begin + 1) >> 1, (end + 1) >> 1}; }
Range HighPass(int64_t begin, int64_t end) { return {begin >> 1, end >> 1}; }

bool IsRight(const Band& band) { return band.orientation == kHL || band.orientation == kHH; }
bool IsBelow(const Band& band) { return band.orientation == kLH || band.orientation == kHH; }

Rect LowPass(const Rect& area) {
  const Range x = LowPass(area.x0, area.x1), y = LowPass(area.y0, area.y1);
  return {x.begin, y.begin, x.end, y.end};
}

}  // namespace

Rect Window::BandPart(const Band& band) const {
  if (band.orientation == kLL || made.empty()) return made;
  const Range x = IsRight(band) ? HighPass(made.x0, made.x1) : LowPass(made.x0, made.x1);
  const Range y = IsBelow(band) ? HighPass(made.y0, made.y1) : LowPass(made.y0, made.y1);
  return {x.begin, y.begin, x.end, y.end};
}

int64_t Window::BandX(const Band& band) const { return IsRight(band) ? LowPass(made).width() : 0; }
int64_t Window::BandY(const Band& band) const { return IsBelow(band) ? LowPass(made).height() : 0; }

std::vector<Window> WindowsOf(const TileComponent& component, int highest, const Rect& part,
                              bool reversible) {
  std::vector<Window> windows(static_cast<size_t>(highest) + 1);
  if (part.empty()) return windows;
  const int64_t margin = reversible ? 2 : 4;
  Rect taken = part;
  for (size_t r = windows.size(); r-- > 0;) {
    const int64_t more = r > 0 ? margin : 0;
    const Rect made =
        Intersection({taken.x0 - more, taken.y0 - more, taken.x1 + more, taken.y1 + more},
                     component.resolutions[r].area);
    windows[r] = {made, taken};
    taken = LowPass(made);
  }
  return windows;
}

}  // namespace zepcodec::jpeg2000
