/// \file
/// Pels from lanes, on x86-64: integer conversion gives the lowest integer for what does not fit 32 bits.
#pragma once

#include "filt/fft/kernels/lanes.h"
#include "filt/internal/convert.h"

#include <cstddef>
#include <cstdint>

/// `Set` adds load() from pels, sqrt(V) and truncated(V), a vector of 32-bit integers.
template <class Set, class Vector>
struct vx_X86Lanes : vx_VectorLanes<Set, Vector> {
    using Base = vx_VectorLanes<Set, Vector>;

    // A float of 2^31 or more is a multiple of 256, and so is the lowest integer.
    static void storeLowBits(unsigned char* to, Vector v) noexcept { storeNarrow(to, Set::truncated(v)); }

    static void storeLowBits(unsigned short* to, Vector v) noexcept {
        float room[Base::count];
        Base::store(room, v);
        bool fits = true;
        for (const float value : room) {
            fits = fits && value < 0x1p31F;
        }
        if (fits) {
            return storeNarrow(to, Set::truncated(v));
        }
        for (std::size_t i = 0; i < Base::count; ++i) {
            to[i] = vf_LowBits<unsigned short>(static_cast<double>(room[i]));
        }
    }

private:
    template <class T, class Integers>
    static void storeNarrow(T* to, Integers integers) noexcept {
        std::uint32_t room[Base::count];
        static_assert(sizeof room == sizeof integers);
        std::memcpy(room, &integers, sizeof room);
        for (std::size_t i = 0; i < Base::count; ++i) {
            to[i] = static_cast<T>(room[i]);
        }
    }
};
