// Fixed 5x5 Gaussian pyramid operators on uniform random images.
//
// Reduction: the benchmark size is the source size, so items_per_second is
// source pixels per second; the destination is ((w + 1) / 2, (h + 1) / 2).
// Expansion (variant "from:half"): the benchmark size is the destination
// size and the source is half of it (960x540 for 1920x1080), so
// items_per_second is destination pixels per second. Both move 1 + 1/4 of
// a pixel per counted pixel (the integer byte count is rounded to nearest).
// The operators are single-threaded, so every thread count measures the
// same serial call; the work buffer is allocated once at its reported size.
#include "motion/pyramid_bench.hpp"

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "ombcv.h"
#include "support/image.hpp"
#include "support/random.hpp"
#include "support/registry.hpp"

namespace ombbench {
namespace {

template <class T>
using PyrFn = OmbResult (*)(const T*, int, T*, int, OmbRoiSize, Omb8u*);

template <class T>
constexpr int TypeCode() {
  return sizeof(T) == 4 ? 9 : (static_cast<T>(-1) < T(0) ? 2 : 1);
}

template <class T>
KernelEntry Entry(const char* name, PyrFn<T> fn, int channels, bool down) {
  KernelEntry e;
  e.function = name;
  const int px = static_cast<int>(sizeof(T)) * channels;
  e.moved_bytes_per_pixel = (px * 5 + 2) / 4;
  e.image_bytes_per_pixel = e.moved_bytes_per_pixel;
  if (!down) e.variant = "from:half";
  e.setup = [fn, channels, down](BenchSize size) -> KernelCall {
    const int sw = down ? size.width : size.width / 2;
    const int sh = down ? size.height : size.height / 2;
    const int dw = down ? (sw + 1) / 2 : 2 * sw;
    const int dh = down ? (sh + 1) / 2 : 2 * sh;
    auto src = std::make_shared<Image<T>>(channels * sw, sh);
    auto dst = std::make_shared<Image<T>>(channels * dw, dh);
    if (sizeof(T) == 4) {
      FillUniform(*src, 0.0, 255.0, 0x5eed);
    } else if (TypeCode<T>() == 2) {
      FillUniform(*src, -128.0, 127.0, 0x5eed);
    } else {
      FillUniform(*src, 0.0, 255.0, 0x5eed);
    }
    FillConstant(*dst, T(0));
    int bytes = 0;
    if (down) {
      ombiPyrDownGetBufSize_Gauss5x5(sw, TypeCode<T>(), channels, &bytes);
    } else {
      ombiPyrUpGetBufSize_Gauss5x5(sw, TypeCode<T>(), channels, &bytes);
    }
    auto buf = std::make_shared<std::vector<Omb8u>>(static_cast<std::size_t>(bytes), 0);
    const OmbRoiSize roi{sw, sh};
    return [fn, src, dst, buf, roi] {
      return fn(src->data(), src->step(), dst->data(), dst->step(), roi, buf->data());
    };
  };
  return e;
}

}  // namespace

void AddPyramidBenchmarks() {
  std::vector<KernelEntry> e;
  e.push_back(Entry<Omb8u>("ombiPyrDown_Gauss5x5_8u_C1R", ombiPyrDown_Gauss5x5_8u_C1R, 1, true));
  e.push_back(Entry<Omb8u>("ombiPyrDown_Gauss5x5_8u_C3R", ombiPyrDown_Gauss5x5_8u_C3R, 3, true));
  e.push_back(Entry<Omb32f>("ombiPyrDown_Gauss5x5_32f_C1R", ombiPyrDown_Gauss5x5_32f_C1R, 1, true));
  e.push_back(Entry<Omb32f>("ombiPyrDown_Gauss5x5_32f_C3R", ombiPyrDown_Gauss5x5_32f_C3R, 3, true));
  e.push_back(Entry<Omb8u>("ombiPyrUp_Gauss5x5_8u_C1R", ombiPyrUp_Gauss5x5_8u_C1R, 1, false));
  e.push_back(Entry<Omb8u>("ombiPyrUp_Gauss5x5_8u_C3R", ombiPyrUp_Gauss5x5_8u_C3R, 3, false));
  e.push_back(Entry<Omb32f>("ombiPyrUp_Gauss5x5_32f_C1R", ombiPyrUp_Gauss5x5_32f_C1R, 1, false));
  e.push_back(Entry<Omb32f>("ombiPyrUp_Gauss5x5_32f_C3R", ombiPyrUp_Gauss5x5_32f_C3R, 3, false));
  AddKernels(std::move(e));
}

}  // namespace ombbench
