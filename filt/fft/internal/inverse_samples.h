/// \file
/// The spatial samples that an inverse transform makes, and where: in the buffer itself, or apart from it.
#pragma once

#include "filt/fft/internal/spatial_images.h"
#include "filt/fft/internal/transformable.h"
#include "filt/fft/kernels/instruction_sets.h"
#include "filt/fft/kernels/workspace.h"
#include "filt/internal/buffer_access.h"

#include <cstddef>
#include <optional>

/// Memory for samples that is not cleared, above 16 MiB in two parts, for the reason that vx_OwnRecords has.
class vx_TemporaryPlane {
public:
    explicit vx_TemporaryPlane(const vxPair<long>& size)
        : plane_(vf_PlaneOf(nullptr, size))
        , left_(2 * leftWidth(plane_) * plane_.height)
        , right_(2 * (plane_.width - leftWidth(plane_)) * plane_.height) {}

    [[nodiscard]] vx_SplitPlane plane() const noexcept {
        const std::size_t split = leftWidth(plane_);
        return {{left_.get(), split, plane_.height}, {right_.get(), plane_.width - split, plane_.height}};
    }

private:
    static std::size_t leftWidth(const vx_Plane& plane) noexcept {
        constexpr std::size_t largestInOne = std::size_t{16} << 20U;
        return 2 * sizeof(float) * plane.width * plane.height <= largestInOne ? plane.width
                                                                              : plane.width * 3 / 4;
    }

    vx_Plane plane_;
    vx_Workspace<float> left_;
    vx_Workspace<float> right_;
};

/// The working samples of one inverse transform.
class vx_InverseSamples {
public:
    /// Those of a consumed buffer, which are spatial already, or with `inPlace` are the buffer's own, others
    /// are apart. A buffer that is not consumed is of a size that kernels can do.
    vx_InverseSamples(vxFrequencyBuffer& buffer, bool inPlace)
        : rows_(vf_NonzeroRows(buffer))
        , transformed_(vx_FrequencyBufferAccess::inverseComputed(buffer))
        , spatial_(place(buffer, inPlace || transformed_))
        , spectrum_(apart_ ? vx_FrequencyBufferAccess::data(buffer) : spatial_.plane.left.data) {}
    vx_InverseSamples(const vx_InverseSamples&) = delete;
    vx_InverseSamples& operator=(const vx_InverseSamples&) = delete;

    [[nodiscard]] bool transformed() const noexcept { return transformed_; }

    /// Spatial once they are transformed.
    [[nodiscard]] const vx_SpatialSamples& samples() const noexcept { return spatial_; }

    void transform() {
        kernels().complex(spectrum_, spatial_.plane, -1, band());
        transformed_ = true;
    }

    /// The magnitudes become the pels of an image on the way.
    template <vx_Pel T>
    void transform(const vx_PelScale& scale, const vxPelBuffer<T>& image) {
        kernels().pels<T>().inverse(spectrum_, spatial_.plane, band(), scale, vf_PelsOf(image));
        transformed_ = true;
    }

private:
    vx_SpatialSamples place(vxFrequencyBuffer& buffer, bool inBuffer) {
        if (inBuffer) {
            return vf_SamplesOf(buffer);
        }
        if (!vx_FrequencyBufferAccess::copyKeepsSize(buffer)) {
            copy_ = buffer;
            return vf_SamplesOf(copy_);
        }
        apart_.emplace(vx_FrequencyBufferAccess::size(buffer));
        return {buffer, apart_->plane()};
    }

    [[nodiscard]] const vx_Kernels& kernels() const {
        return vf_KernelsFor(vx_FrequencyBufferAccess::size(spatial_.buffer));
    }
    [[nodiscard]] vx_RowBand band() const { return {rows_.low, rows_.high, spatial_.plane.height()}; }

    vx_NonzeroRows rows_;
    bool transformed_;
    std::optional<vx_TemporaryPlane> apart_;
    vxFrequencyBuffer copy_;
    vx_SpatialSamples spatial_;
    const float* spectrum_;
};
