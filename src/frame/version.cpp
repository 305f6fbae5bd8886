#include "ombcv.h"

#ifndef OMB_LIBRARY_FILE_NAME
#error "the build defines OMB_LIBRARY_FILE_NAME"
#endif

namespace {

// One static record; callers get its address and must not change it.
const OmbLibraryVersion kVersion = {
    5, 1, 133, 258, {'a', '6', '\0', '\0'}, OMB_LIBRARY_FILE_NAME,
    "5.1.1", "Jun 20 2006"};

}  // namespace

extern "C" OMB_API const OmbLibraryVersion* ombcvGetLibVersion(void) {
  return &kVersion;
}
