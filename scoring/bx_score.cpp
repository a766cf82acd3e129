#include "bx/bx_score.h"

#include "c/Border.h"
#include "scoring/Value.h"

namespace {

using namespace BX::scoring;

bx_value worthOf(const Face& face, Gauge gauge, Point hit) {
  if (!face.isScored())
    return {.scored = 0, .ring = 0, .tenths = 0, .inner = 0, .pixel_class = pixelClassOf(face, hit)};
  const Value value = valueOf(face, gauge, hit);
  return {.scored = 1, .ring = value.ring, .tenths = value.tenths, .inner = value.isInner ? 1 : 0, .pixel_class = 0};
}

}  // namespace

int32_t bx_score(const char* target, double x, double y, int32_t gauge, bx_value* out) {
  if (out != nullptr) *out = {};
  return BX::c::guarded([&] {
    BX::c::require(out != nullptr, "the value is NULL");
    BX::c::require(gauge == BX_SCORE_EDGE || gauge == BX_SCORE_CENTRE, "the gauge is neither edge nor centre");
    const auto document = BX::c::documentOf(target);
    const auto hit = positionOf(x, y);
    BX::c::require(hit.has_value(), "the position is none, or beyond all ranges");
    *out = worthOf(faceOf(document.getDocument()), gauge == BX_SCORE_EDGE ? Gauge::Edge : Gauge::Centre, *hit);
  });
}
