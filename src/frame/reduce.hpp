// Sums that a reduction hands back to its caller.
//
// The rule: a number the caller reads from a reduction (a mean, a standard
// deviation, a norm, the tracker's normal equations and its error) is what
// the stated arithmetic gives with unbounded integers. Where an integer
// accumulator of the stated width can overflow on valid input, the sum is
// taken in 64-bit integers, or in doubles where every partial sum stays an
// integer below 2^53 and so is exact. Where the stated width cannot
// overflow on valid input it is kept, and with it the result bits. For
// example a 32-bit sum of 8-bit pixels holds only Int32Terms(255) =
// 8421504 bright pixels (less than one 4000 x 3000 band), so means,
// deviations and L1 norms of 8-bit data sum their bands in 64 bits.
//
// Not reductions in this sense, and still wrapping modulo 2^32 (in unsigned
// arithmetic, never by signed overflow): the integer integral tables and
// the rectangle differences read from them, the integer Haar stage sums,
// the low-precision pipeline filters and the 16-bit generated kernels.
// Their results are defined modulo 2^32.
//
// Split calls (ReduceBands, frame/parallel.hpp) keep the rule across
// bands: each band's slot holds the accumulator the rule asks for, and the
// calling thread adds the slots in band order in that same type, so a
// split call returns what the serial call returns for integer data.
//
// Vector code follows the same rule lane by lane: a 32-bit lane takes only
// as many terms as Int32Terms allows before it is widened into 64-bit
// lanes, and a lane reduction (SumOfLanes) runs only on lanes whose total
// fits their type. Widening first is the safe form: some targets reduce
// even unsigned lanes with signed additions.
#pragma once

#include <cstdint>

namespace omb {

// How many terms of magnitude at most `bound` a signed 32-bit accumulator
// (or vector lane) takes without overflow.
constexpr std::int64_t Int32Terms(std::int64_t bound) { return bound > 0 ? INT32_MAX / bound : INT64_MAX; }

}  // namespace omb
