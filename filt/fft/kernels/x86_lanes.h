/// \file
/// Pels from lanes, on x86-64: integer conversion gives the lowest integer for what does not fit 32 bits.
#pragma once

#include "filt/fft/kernels/lanes.h"
#include "filt/internal/convert.h"

#include <cstddef>
#include <immintrin.h>

/// `Set` adds load() from integer pels; stream(float*, V); narrowed(D, D); sqrt(V), lesser(V, V) and
/// greater(V, V); equal(V, V); fitIntegers(V), whether all lanes fit 32-bit integers; narrow(V, pels) for
/// both kinds of integers, which truncates to 32 bits and then to the pel; and widen(V, double*).
template <class Set, class Vector, class DoubleVector>
struct vx_X86Lanes : vx_VectorLanes<Set, Vector, DoubleVector> {
    using Base = vx_VectorLanes<Set, Vector, DoubleVector>;

    static void finishStreams() noexcept { _mm_sfence(); }

    using Base::load;
    static Vector load(const double* pels) noexcept {
        return Set::narrowed(Base::loadDoubles(pels), Base::loadDoubles(pels + Base::count / 2));
    }

    /// The first `pels` lanes as integers.
    static void storeLowBits(unsigned char* to, Vector v, std::size_t pels) noexcept {
        // A float that does not fit is a multiple of 256 (or no number), and so is the lowest integer.
        store(to, pels, [v](unsigned char* all) { Set::narrow(v, all); });
    }
    static void storeLowBits(unsigned short* to, Vector v, std::size_t pels) noexcept {
        store(to, pels, [v](unsigned short* all) {
            if (Set::fitIntegers(v)) {
                Set::narrow(v, all);
            } else {
                float room[Base::count];
                Base::store(room, v);
                for (std::size_t i = 0; i < Base::count; ++i) {
                    all[i] = vf_LowBits<unsigned short>(static_cast<double>(room[i]));
                }
            }
        });
    }
    /// The doubles as integers.
    static void storeLowBits(unsigned char* to, DoubleVector v) noexcept {
        if (Set::fitIntegers(v)) {
            Set::narrow(v, to);
        } else {
            double room[Base::count / 2];
            Base::store(room, v);
            for (std::size_t i = 0; i < Base::count / 2; ++i) {
                to[i] = vf_LowBits<unsigned char>(room[i]);
            }
        }
    }
    static void storeWidened(double* to, Vector v, std::size_t pels) noexcept {
        store(to, pels, [v](double* all) { Set::widen(v, all); });
    }

    using Base::store;

private:
    template <class T, class StoreAll>
    static void store(T* to, std::size_t pels, StoreAll storeAll) noexcept {
        if (pels == Base::count) {
            storeAll(to);
        } else {
            T room[Base::count];
            storeAll(room);
            vf_Copy<Set>(room, vf_Smaller<Set>(pels, Base::count), to);
        }
    }
};
