/// \file
/// The display mappings on a plain array of doubles.
#pragma once

#include <cmath>
#include <vector>

namespace oracle {

/// The low byte of the truncated value; what no 64-bit integer holds has the low byte 0.
inline unsigned char lowByte(double value) {
    if (std::isnan(value) || std::fabs(value) > 9223372036854775807.0) {
        return 0;
    }
    const double whole = std::trunc(value);
    if (std::fabs(whole) >= 9223372036854775808.0) {
        return 0; // +-2^63: its low bits are zeros.
    }
    return static_cast<unsigned char>(static_cast<unsigned long long>(static_cast<long long>(whole)) & 255U);
}

inline std::vector<unsigned char> mapImage(const std::vector<double>& pels, int mapping, double rangeMin,
                                           double rangeMax) {
    std::vector<unsigned char> result(pels.size(), 0);
    double lo = static_cast<double>(1e20F);
    double hi = static_cast<double>(-1e20F);
    if (mapping == 1 || mapping == 3) {
        for (double p : pels) {
            if (hi >= p) {
            } else {
                hi = p;
            }
            if (lo > p) {
                lo = p;
            }
        }
    }
    if (mapping == 2) {
        lo = rangeMin;
        hi = rangeMax;
    }
    double range;
    if (lo >= 0.0) {
        range = hi;
    } else {
        range = hi - lo;
    }
    if (range > 0.0) {
    } else {
        range = 1.0;
    }
    if (mapping == 3 && range < 2.0) {
        range = 2.0;
    }
    for (std::size_t i = 0; i < pels.size(); ++i) {
        const double p = pels[i];
        double v;
        double gain;
        switch (mapping) {
        case 0:
            v = p;
            if (v >= 0.0) {
            } else {
                v = 0.0;
            }
            if (v > 255.0) {
                v = 255.0;
            }
            result[i] = lowByte(v);
            break;
        case 1:
            gain = 255.0 / range;
            result[i] = lo >= 0.0 ? lowByte(p * gain) : lowByte((p - lo) * gain);
            break;
        case 2:
            gain = 255.0 / range;
            v = (p - lo) * gain;
            if (v > 255.0) {
                result[i] = 255;
            } else if (v >= 0.0) {
                result[i] = lowByte(v);
            } else {
                result[i] = 0;
            }
            break;
        case 3:
            gain = 255.0 / std::log(range);
            result[i] =
                lo >= 0.0 ? lowByte(std::log(p + 1.0) * gain) : lowByte(std::log(p - lo + 1.0) * gain);
            break;
        case 4:
            result[i] = lowByte(p * 40.58451);
            break;
        default:
            break;
        }
    }
    return result;
}

} // namespace oracle
