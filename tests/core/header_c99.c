/* The public header compiled as strict C99, linked with a C++ unit that
 * includes it too; both call into the library. */
#include "ombcv.h"

int CxxUnitStatus(void);

int main(void) {
  const OmbLibraryVersion* v = ombcvGetLibVersion();
  Omb8u a = 9, b = 4, d = 0;
  OmbRoiSize one = {1, 1};
  if (v == 0 || v->versionMajor != 5) return 1;
  if (ombiAbsDiff_8u_C1R(&a, 1, &b, 1, &d, 1, one) != ombResultOk || d != 5) return 2;
  return CxxUnitStatus();
}
