/* What a hit is worth, for hosts of BX_DEVICE_C; in C11, as bx_c.h. */
#ifndef BX_SCORE_H
#define BX_SCORE_H

/* NOLINTBEGIN(modernize-deprecated-headers,modernize-use-using): C. */
#include <bx/bx_c.h>

#ifdef __cplusplus
extern "C" {
#endif

/* What of a hit must reach a ring's line: the edge of its hole, at the target's calibre, or its centre. */
enum { BX_SCORE_EDGE = 0, BX_SCORE_CENTRE = 1 };

typedef struct bx_value {
  int32_t scored;      /* 1; 0 on a target without rings, such as a silhouette, and then ring, tenths and inner are 0 */
  int32_t ring;        /* the whole value; 0: none */
  int32_t tenths;      /* the value with its tenth, in tenths: 93 is 9.3 */
  int32_t inner;       /* 1 for an inner ten */
  int32_t pixel_class; /* of a silhouette, 0 to 3 */
} bx_value;

/* The value of a hit at (x, y): the position of a record, in millimetres, right and up positive. `target` is a target
 * document; docs/scoring.md tells how it is counted. BX_E_ARGUMENT when x or y is no number, or `gauge` none of the
 * above. Blocks for nothing, and may be called from any thread. */
BX_C_API int32_t bx_score(const char* target, double x, double y, int32_t gauge, bx_value* out);

#ifdef __cplusplus
}
#endif

/* NOLINTEND(modernize-deprecated-headers,modernize-use-using) */

#endif
