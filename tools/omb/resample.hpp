// Area-average reduction of a grey picture for the detector's scales.
//
// Each output pixel is the mean of the source area it covers (partly
// covered pixels weighted by the part covered), rounded to 8 bits: the
// cascades were trained on 8-bit pictures. Columns are reduced first, a
// whole source row at a time (loops the compiler vectorises), then each
// reduced row is reduced along its length.
#pragma once

#include <cstdint>
#include <vector>

#include "image_io.hpp"

namespace omb_tool {

// The tw x th reduction of grey, written transposed: out is th wide and tw
// tall with row step th + 1, the byte after each row 0. scratch is work
// space kept between calls.
void ReduceTransposed(const Image& grey, int tw, int th, std::vector<float>* scratch,
                      std::vector<std::uint8_t>* out);

}  // namespace omb_tool
