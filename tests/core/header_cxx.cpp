#include "ombcv.h"

extern "C" int CxxUnitStatus(void) {
  Omb32f mhi = 0.0f;
  const Omb8u moving = 1;
  const OmbRoiSize one = {1, 1};
  const OmbResult st = ombiUpdateMotionHistory_8u32f_C1IR(&moving, 1, &mhi, 4, one, 3.0f, 1.0f);
  return st == ombResultOk && mhi == 3.0f ? 0 : 3;
}
