/// \file
/// The four filters with a table of gains, each as a case with one way to make and read them.
#pragma once

#include "filt/freqfilt.h"
#include "tests/oracle/filters.h"
#include "tests/support/frequency_buffers.h"

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <sstream>
#include <string>
#include <typeinfo>
#include <vector>

namespace support {

/// The object's own class.
inline const std::type_info& typeOf(const vxPersistent& object) {
    return typeid(object);
}

inline std::string storeObject(vxPersistent& object) {
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    archive || object;
    return stream.str();
}

inline void loadObject(vxPersistent& object, const std::string& bytes) {
    std::istringstream stream(bytes);
    vxInputArchive archive(stream);
    archive || object;
}

inline std::string storePointer(vxPersistent* object) {
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    archive || object;
    return stream.str();
}

/// The caller deletes the object.
inline vxPersistent* loadPointer(const std::string& bytes) {
    std::istringstream stream(bytes);
    vxInputArchive archive(stream);
    vxPersistent* object = nullptr;
    archive || object;
    return object;
}

/// A filter of a user's own that adds a part to another: a bool, which must not be true when loaded.
template <class Filter>
class Extended : public Filter {
public:
    using Filter::Filter;
    bool refused = false;

protected:
    void dispatchSerialize(vxArchive& archive) override {
        Filter::dispatchSerialize(archive);
        bool value = refused;
        archive || value;
        if (archive.isLoading() && value) {
            archive.refuse("an added part");
        }
    }
};

/// Parameters of any of the four filters.
struct Parameters {
    double sigma = 0.05;
    double plateau = 0.02;
    double frequency = 0.2;
    long width = 16;
    long height = 16;
    long radius = 0;
    double angle = 0.4;  // Gabor filters only,
    double across = 0.5; // and so are the widths across, as a share of those along.
};

struct BandPassCase {
    using Filter = vxFrequencyFilterBandPass;
    static constexpr bool isLobe = false;
    static constexpr bool reject = false;
    static constexpr const char* typeName = "vxFrequencyFilterBandPass";
    static constexpr const char* negativeRadius = "DC Removal Radius cannot be negative.";
    static void radius(Filter& filter, long value) { filter.dcRemovalRadius(value); }
    static long radius(const Filter& filter) { return filter.dcRemovalRadius(); }
};

struct BandRejectCase {
    using Filter = vxFrequencyFilterBandReject;
    static constexpr bool isLobe = false;
    static constexpr bool reject = true;
    static constexpr const char* typeName = "vxFrequencyFilterBandReject";
    static constexpr const char* negativeRadius = "DC Protection Radius cannot be negative.";
    static void radius(Filter& filter, long value) { filter.dcProtectionRadius(value); }
    static long radius(const Filter& filter) { return filter.dcProtectionRadius(); }
};

struct GaborCase {
    using Filter = vxFrequencyFilterGabor;
    static constexpr bool isLobe = true;
    static constexpr bool reject = false;
    static constexpr const char* typeName = "vxFrequencyFilterGabor";
    static constexpr const char* negativeRadius = "DC Removal Radius cannot be negative.";
    static void radius(Filter& filter, long value) { filter.dcRemovalRadius(value); }
    static long radius(const Filter& filter) { return filter.dcRemovalRadius(); }
};

struct GaborRejectCase {
    using Filter = vxFrequencyFilterGaborReject;
    static constexpr bool isLobe = true;
    static constexpr bool reject = true;
    static constexpr const char* typeName = "vxFrequencyFilterGaborReject";
    static constexpr const char* negativeRadius = "DC Protection Radius cannot be negative.";
    static void radius(Filter& filter, long value) { filter.dcProtectionRadius(value); }
    static long radius(const Filter& filter) { return filter.dcProtectionRadius(); }
};

/// A filter of a case, with its protected parts in reach.
template <class Case>
class Opened : public Case::Filter {
public:
    using Base = typename Case::Filter;
    using Base::Base;
    using Base::data;
    using Base::dispatchSerialize;
    using Base::operator=;
    using Base::serialize_;
    Opened() = default;

    void set(const Parameters& p) {
        if constexpr (Case::isLobe) {
            Base::set({p.sigma, p.sigma * p.across}, {p.plateau, p.plateau * p.across}, vxRadian(p.angle),
                      p.frequency, {p.width, p.height}, p.radius);
        } else {
            Base::set(p.sigma, p.plateau, p.frequency, {p.width, p.height}, p.radius);
        }
    }
    explicit Opened(const Parameters& p) { set(p); }
    /// By the filter's own constructor.
    static Opened constructed(const Parameters& p) {
        if constexpr (Case::isLobe) {
            return Opened(vxPair<double>(p.sigma, p.sigma * p.across),
                          vxPair<double>(p.plateau, p.plateau * p.across), vxRadian(p.angle), p.frequency,
                          vxPair<long>(p.width, p.height), p.radius);
        } else {
            return Opened(p.sigma, p.plateau, p.frequency, vxPair<long>(p.width, p.height), p.radius);
        }
    }

    void setSigma(double value) {
        if constexpr (Case::isLobe) {
            this->sigma({value, value});
        } else {
            this->sigma(value);
        }
    }
    void setPlateau(double value) {
        if constexpr (Case::isLobe) {
            this->plateau({value, value});
        } else {
            this->plateau(value);
        }
    }
    void setRadius(long value) { Case::radius(*this, value); }
    [[nodiscard]] long radius() const { return Case::radius(*this); }

    [[nodiscard]] std::size_t entryCount() const {
        if constexpr (Case::isLobe) {
            return static_cast<std::size_t>(this->supportWidth()) *
                   static_cast<std::size_t>(this->supportHeight());
        } else {
            return static_cast<std::size_t>(this->supportWidth()) * 32;
        }
    }
    /// The gains; none while not built.
    [[nodiscard]] std::vector<float> table() const {
        return data() == nullptr ? std::vector<float>() : std::vector<float>(data(), data() + entryCount());
    }

    /// Every operation that needs a built filter.
    [[nodiscard]] std::vector<std::function<void()>> accessors() {
        std::vector<std::function<void()>> all = {
            [this] { static_cast<void>(this->sigma()); },
            [this] { static_cast<void>(this->plateau()); },
            [this] { static_cast<void>(this->frequency()); },
            [this] { static_cast<void>(this->size()); },
            [this] { static_cast<void>(radius()); },
            [this] { static_cast<void>(this->supportWidth()); },
            [this] { setSigma(0.1); },
            [this] { setPlateau(0.1); },
            [this] { this->frequency(0.1); },
            [this] {
                this->size({16, 16});
            },
            [this] { setRadius(1); },
        };
        if constexpr (Case::isLobe) {
            all.emplace_back([this] { static_cast<void>(this->angle()); });
            all.emplace_back([this] { static_cast<void>(this->supportHeight()); });
            all.emplace_back([this] { this->angle(vxRadian(0.1)); });
        }
        return all;
    }
};

inline oracle::Band bandOf(const Parameters& p, bool reject) {
    return {p.sigma, p.plateau, p.frequency, p.width, p.height, p.radius, reject};
}

inline oracle::Lobe lobeOf(const Parameters& p, bool reject) {
    return {p.sigma,  p.sigma * p.across, p.plateau, p.plateau * p.across, p.angle, p.frequency, p.width,
            p.height, p.radius,           reject};
}

/// The table that the literal transcription gives.
template <class Case>
std::vector<float> expectedTable(const Parameters& p) {
    if constexpr (Case::isLobe) {
        return oracle::lobePatch(lobeOf(p, Case::reject));
    } else {
        return oracle::bandProfile(bandOf(p, Case::reject));
    }
}

/// What the literal transcription makes of `in` with that table.
template <class Case>
oracle::Plane expectedResult(const Parameters& p, const std::vector<float>& table, const oracle::Plane& in) {
    if constexpr (Case::isLobe) {
        const oracle::Lobe lobe = lobeOf(p, Case::reject);
        const auto [columns, rows] = oracle::lobeSupport(lobe);
        return oracle::applyLobe(lobe, table, columns, rows, in);
    } else {
        return oracle::applyBand(bandOf(p, Case::reject), table, in);
    }
}

inline oracle::Plane planeOf(const vxFrequencyBuffer& buffer) {
    return {BufferAccess::width(buffer), BufferAccess::height(buffer), samplesOf(buffer)};
}

/// The samples that differ, bit for bit; two NaNs do not, whatever their payloads are.
inline long countDifferences(const std::vector<float>& a, const std::vector<float>& b) {
    if (a.size() != b.size()) {
        return -1;
    }
    long differences = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const bool same = std::bit_cast<std::uint32_t>(a[i]) == std::bit_cast<std::uint32_t>(b[i]) ||
                          (std::isnan(a[i]) && std::isnan(b[i]));
        differences += same ? 0 : 1;
    }
    return differences;
}

/// The most units in the last place between two equally long lists of floats that are not negative.
inline std::int64_t largestUlps(const std::vector<float>& a, const std::vector<float>& b) {
    std::int64_t largest = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const std::int64_t x = std::bit_cast<std::int32_t>(a[i]);
        const std::int64_t y = std::bit_cast<std::int32_t>(b[i]);
        largest = std::max(largest, x > y ? x - y : y - x);
    }
    return largest;
}

} // namespace support
