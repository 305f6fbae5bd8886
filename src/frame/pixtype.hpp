// Run-time tag of the pixel element types, so one dispatched kernel entry
// can serve every type of a family.
#pragma once

#include <cstdint>

namespace omb {

enum class PixType { k8u, k8s, k16u, k16s, k32s, k32f };

template <class T> struct PixTypeOf;
template <> struct PixTypeOf<std::uint8_t> { static constexpr PixType value = PixType::k8u; };
template <> struct PixTypeOf<std::int8_t> { static constexpr PixType value = PixType::k8s; };
template <> struct PixTypeOf<std::uint16_t> { static constexpr PixType value = PixType::k16u; };
template <> struct PixTypeOf<std::int16_t> { static constexpr PixType value = PixType::k16s; };
template <> struct PixTypeOf<std::int32_t> { static constexpr PixType value = PixType::k32s; };
template <> struct PixTypeOf<float> { static constexpr PixType value = PixType::k32f; };

template <class T>
inline constexpr PixType kPixType = PixTypeOf<T>::value;

// Calls f(T{}) for the one T among Ts whose tag is `type`; a kernel entry
// lists the element types it supports and gets one typed call.
template <class... Ts, class F>
inline void VisitPixType(PixType type, F&& f) {
  ((type == kPixType<Ts> ? (f(Ts{}), true) : false) || ...);
}

}  // namespace omb
