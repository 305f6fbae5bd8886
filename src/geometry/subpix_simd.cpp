// Sub-pixel block kernel (scalar for now; the vector form follows).
#include <cstddef>
#include <cstdint>

#include "geometry/subpix.hpp"
#include "geometry/subpix_ref.hpp"

namespace omb {

void SubpixBlockRun(const SubpixBlock& job) {
  const auto* s = static_cast<const std::uint8_t*>(job.src);
  auto* d = static_cast<std::uint8_t*>(job.dst);
  for (int y = 0; y < job.height; ++y) {
    const void* r0 = s + static_cast<std::ptrdiff_t>(job.src_step) * y;
    const void* r1 = s + static_cast<std::ptrdiff_t>(job.src_step) * (y + 1);
    void* dr = d + static_cast<std::ptrdiff_t>(job.dst_step) * y;
    switch (job.kind) {
      case SubpixKind::k8u:
        ref::SubpixRowQ14<std::uint8_t, std::uint8_t>(r0, r1, dr, 0, job.width, job.w, job.shift);
        break;
      case SubpixKind::k8u16u:
        ref::SubpixRowQ14<std::uint8_t, std::uint16_t>(r0, r1, dr, 0, job.width, job.w, job.shift);
        break;
      case SubpixKind::k16u:
        ref::SubpixRowQ14<std::uint16_t, std::uint16_t>(r0, r1, dr, 0, job.width, job.w, job.shift);
        break;
      case SubpixKind::k8u32f:
        ref::SubpixRowFloat<std::uint8_t>(r0, r1, dr, 0, job.width, job.wf);
        break;
      case SubpixKind::k16u32f:
        ref::SubpixRowFloat<std::uint16_t>(r0, r1, dr, 0, job.width, job.wf);
        break;
      case SubpixKind::k32f:
        ref::SubpixRowFloat<float>(r0, r1, dr, 0, job.width, job.wf);
        break;
    }
  }
}

}  // namespace omb
