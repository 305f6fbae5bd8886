// Table-driven proof of the argument-check order of an exported front:
// null pointers (-8), sizes (-6), steps against width (-14), step alignment
// (-108), channel of interest (-52), family parameters (in the order they
// are described). Every failure is tried alone and together with every
// failure of a later stage on another argument field; the earlier stage
// must win, and no byte of any image (guards included) may change. A call
// with every argument valid must return 0 and write only inside the ROI.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "support/test_image.hpp"

namespace omb_test {

struct ArgImage {
  Elem elem;
  bool output = false;        // written by the front
  bool align_tested = true;   // the front requires step % element size == 0
  bool mask = false;          // an 8-bit mask (never alignment tested)
  int channels = 1;
  // Tables and windows: pixels and rows beyond the ROI size that the image
  // has and that its row-length minimum includes.
  int extra_cols = 0;
  int extra_rows = 0;
  // An argument tested for null only (a row-pointer array, a kernel, a work
  // buffer): no step faults are tried on it and its step is left valid.
  bool pointer_only = false;
};

// One family parameter: its index in CallArgs::p, values that must be
// refused and the status they give.
struct ArgParam {
  int index;
  std::vector<double> bad;
  OmbResult status;
  // Tested right after the ROI size, before the steps (kernel sizes and
  // anchors of some families); in description order among themselves.
  bool before_steps = false;
};

struct CallArgs {
  std::vector<void*> ptr;
  std::vector<int> step;
  OmbRoiSize roi{0, 0};
  int coi = 1;
  std::vector<double> p;  // family parameters, as the front's call reads them
  template <class T>
  T* P(std::size_t i) const { return static_cast<T*>(ptr[i]); }
};

struct ArgFront {
  std::string name;
  std::vector<ArgImage> images;        // in call order
  std::vector<ArgParam> params;
  std::vector<double> defaults;        // valid values of p
  bool has_coi = false;
  std::function<OmbResult(const CallArgs&)> call;
  // Extra elements a row of image i must hold beyond the ROI width when
  // that depends on the parameters (default: that image's extra_cols), so
  // that step faults stay faults when a parameter changes the minimum.
  std::function<long long(const CallArgs&, std::size_t i)> extra_elems;
};

void ExpectCheckOrder(const ArgFront& front);

}  // namespace omb_test
