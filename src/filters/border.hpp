// Border rules shared by the row/column pipeline passes and the fixed-kernel
// filters: where a pixel outside a line of n pixels comes from.
//
// The rules are defined by one reflection or one wrap of the line; a kernel
// wider than the line reaches further out, and there the same rule is
// applied again (the line is folded or wrapped as often as needed), so that
// every made-up pixel still names a pixel of the line.
#pragma once

#include "ombtypes.h"

namespace omb {

inline bool IsBorderType(int border) {
  return border >= ombBorderConstant && border <= ombBorderMirrorEdge;
}

// Non-negative remainder of i modulo m (m > 0).
inline int FloorMod(int i, int m) {
  const int r = i % m;
  return r < 0 ? r + m : r;
}

// Index in [0, n) of the pixel that position i of a line of n pixels reads
// under `border`; -1 for a constant-border pixel outside the line.
inline int BorderIndex(int i, int n, int border) {
  if (i >= 0 && i < n) return i;
  switch (border) {
    case ombBorderReplicate:
      return i < 0 ? 0 : n - 1;
    case ombBorderWrap:
      return FloorMod(i, n);
    case ombBorderMirror: {
      if (n == 1) return 0;  // no pixel besides the edge: as mirror-edge
      const int period = 2 * n - 2;
      const int m = FloorMod(i, period);
      return m < n ? m : period - m;
    }
    case ombBorderMirrorEdge: {
      const int period = 2 * n;
      const int m = FloorMod(i, period);
      return m < n ? m : period - 1 - m;
    }
    default:
      return -1;
  }
}

}  // namespace omb
