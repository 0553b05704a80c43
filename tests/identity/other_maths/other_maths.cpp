/// \file
/// A maths library that is not the system's, to be preloaded: each result is the system's or one of the two
/// numbers next to it, as another good library could have it. What every library has exactly stays: zero,
/// one, infinity and NaN.
#include <bit>
#include <cstdint>
#include <dlfcn.h>
#include <type_traits>

namespace {

template <class T>
T neighbourOf(T exact) {
    using Bits = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;
    const Bits bits = std::bit_cast<Bits>(exact);
    const Bits magnitude = bits & ~Bits{0} >> 1;
    if (magnitude == 0 || magnitude == std::bit_cast<Bits>(T{1}) || exact - exact != T{0}) {
        return exact;
    }
    // Down, up or not at all, at random by the number itself.
    const std::uint64_t random = (std::uint64_t{bits} + 1) * 0x9e3779b97f4a7c15U >> 33;
    return std::bit_cast<T>(static_cast<Bits>(bits + random % 3 - 1));
}

template <class T, class... Arguments>
T call(const char* name, Arguments... arguments) {
    const auto function = reinterpret_cast<T (*)(Arguments...)>(dlsym(RTLD_NEXT, name));
    return neighbourOf(function(arguments...));
}

} // namespace

// NOLINTBEGIN: the names are the system's.
extern "C" {
double sin(double x) {
    return call<double>("sin", x);
}
double cos(double x) {
    return call<double>("cos", x);
}
double tan(double x) {
    return call<double>("tan", x);
}
double exp(double x) {
    return call<double>("exp", x);
}
double log(double x) {
    return call<double>("log", x);
}
double atan2(double y, double x) {
    return call<double>("atan2", y, x);
}
float sinf(float x) {
    return call<float>("sinf", x);
}
float cosf(float x) {
    return call<float>("cosf", x);
}
float expf(float x) {
    return call<float>("expf", x);
}
float logf(float x) {
    return call<float>("logf", x);
}
float atan2f(float y, float x) {
    return call<float>("atan2f", y, x);
}
void sincos(double x, double* sine, double* cosine) {
    *sine = call<double>("sin", x);
    *cosine = call<double>("cos", x);
}
void sincosf(float x, float* sine, float* cosine) {
    *sine = call<float>("sinf", x);
    *cosine = call<float>("cosf", x);
}
}
// NOLINTEND
