/// \file
/// The table of one instruction set, made from the one text of the passes.
#pragma once

#include "filt/fft/kernels/elements.h"
#include "filt/fft/kernels/kernel_table.h"
#include "filt/fft/kernels/magnitude.h"
#include "filt/fft/kernels/row_sources.h"
#include "filt/fft/kernels/transform_2d.h"

template <class L, vx_Pel T>
void vf_ForwardKernel(const vx_Pels<const T>& image, const vx_Plane& spectrum) {
    vf_RealTransform<L, 1>(vx_PelRows<L, T>(image), spectrum);
}

template <class L, vx_Pel T>
void vf_ForwardPairKernel(const vx_Pels<const T>& real, const vx_Pels<const T>& imaginary,
                          const vx_Plane& spectrum) {
    const vx_RowBand everyRow(0, static_cast<long>(spectrum.height), spectrum.height);
    vf_ComplexTransform<L, 1>(vx_PelPairRows<L, T>(real, imaginary), vx_PlaneRecords<L>(spectrum),
                              spectrum.width, spectrum.height, everyRow, vx_SpectrumColumns<L, 1>(spectrum));
}

template <class L, vx_Pel T>
void vf_InverseMagnitudeKernel(const vx_Plane& spectrum, const vx_RowBand& band, const vx_PelScale& scale,
                               const vx_Pels<T>& image) {
    const vx_OwnRecords<L> records(spectrum.width, spectrum.height);
    vf_ComplexTransform<L, -1>(vx_SampleRows<L>(spectrum.data, spectrum.width), records, spectrum.width,
                               spectrum.height, band, vx_MagnitudeColumns<L, T>(image, scale));
}

template <class L, vx_Pel T>
void vf_InverseKernel(const float* spectrum, const vx_SplitPlane& samples, const vx_RowBand& band,
                      const vx_PelScale& scale, const vx_Pels<T>& image) {
    const vx_BothColumns columns(vx_SpectrumColumns<L, -1>(samples), vx_MagnitudeColumns<L, T>(image, scale));
    vf_ComplexTransform<L, -1>(vx_SampleRows<L>(spectrum, samples.width()), vx_PlaneRecords<L>(samples),
                               samples.width(), samples.height(), band, columns);
}

template <class L, int direction>
void vf_RealKernel(const vx_Plane& plane) {
    vf_RealTransform<L, direction>(vx_SampleRows<L>(plane.data, plane.width), plane);
}

template <class L>
void vf_ComplexKernel(const float* source, const vx_SplitPlane& plane, int direction,
                      const vx_RowBand& band) {
    const std::size_t width = plane.width();
    const vx_SampleRows<L> rows(source, width);
    const vx_PlaneRecords<L> records(plane);
    if (direction > 0) {
        vf_ComplexTransform<L, 1>(rows, records, width, plane.height(), band,
                                  vx_SpectrumColumns<L, 1>(plane));
    } else {
        vf_ComplexTransform<L, -1>(rows, records, width, plane.height(), band,
                                   vx_SpectrumColumns<L, -1>(plane));
    }
}

template <class L, vx_Pel T>
constexpr vx_PelKernels<T> vf_PelKernels() {
    return {vf_ForwardKernel<L, T>, vf_ForwardPairKernel<L, T>, vf_InverseMagnitudeKernel<L, T>,
            vf_InverseKernel<L, T>, vf_MagnitudesKernel<L, T>};
}

/// `Wide` are the lanes of the loops over single samples: at least those of one sample.
template <class L, class Wide = L>
constexpr vx_Kernels vf_Kernels(vx_InstructionSet set) {
    return {set,
            L::count,
            vf_PelKernels<L, unsigned char>(),
            vf_PelKernels<L, unsigned short>(),
            vf_PelKernels<L, double>(),
            vf_RealKernel<L, 1>,
            vf_ComplexKernel<L>,
            vf_ElementKernels<Wide>()};
}
