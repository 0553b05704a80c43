#include "filt/fft/kernels/instruction_sets.h"

#include <atomic>

namespace {

// Null but in tests and benchmarks.
std::atomic<const vx_Kernels*> forced = nullptr;

const vx_Kernels* kernelsOf(vx_InstructionSet set) noexcept {
    switch (set) {
#ifdef VX_X86_64
    case vx_InstructionSet::sse2:
        return &vx_InstructionSets::sse2;
    case vx_InstructionSet::avx2:
        return &vx_InstructionSets::avx2;
    case vx_InstructionSet::avx512:
        return &vx_InstructionSets::avx512;
#endif
    default:
        return &vx_InstructionSets::portable;
    }
}

bool runs(vx_InstructionSet set) noexcept {
    switch (set) {
#ifdef VX_X86_64
    case vx_InstructionSet::sse2:
        return true;
    case vx_InstructionSet::avx2:
        return __builtin_cpu_supports("avx2") != 0;
    case vx_InstructionSet::avx512:
        return __builtin_cpu_supports("avx512f") != 0 && __builtin_cpu_supports("avx512dq") != 0 &&
               __builtin_cpu_supports("avx512bw") != 0 && __builtin_cpu_supports("avx512vl") != 0;
#endif
    default:
        return set == vx_InstructionSet::portable;
    }
}

constexpr vx_InstructionSet slowestFirst[] = {vx_InstructionSet::portable, vx_InstructionSet::sse2,
                                              vx_InstructionSet::avx2, vx_InstructionSet::avx512};

bool fits(const vx_Kernels& kernels, const vxPair<long>& size) noexcept {
    const auto lanes = static_cast<long>(kernels.lanes);
    return size.x() >= 2 * lanes && size.y() >= lanes;
}

// The fastest that suits, or one lane.
template <class Suits>
const vx_Kernels& fastestThat(Suits suits) noexcept {
    const vx_Kernels* fastest = &vx_InstructionSets::single;
    for (const vx_InstructionSet set : slowestFirst) {
        const vx_Kernels& kernels = *kernelsOf(set);
        if (runs(set) && suits(kernels)) {
            fastest = &kernels;
        }
    }
    return *fastest;
}

} // namespace

const vx_Kernels& vf_KernelsFor(const vxPair<long>& size) noexcept {
    const vx_Kernels* const only = forced;
    return fastestThat([&size, only](const vx_Kernels& kernels) {
        return (only == nullptr || only == &kernels) && fits(kernels, size);
    });
}

const vx_ElementKernels& vf_Elements() noexcept {
    static const vx_Kernels& fastest = fastestThat([](const vx_Kernels&) { return true; });
    const vx_Kernels* const only = forced;
    return only == nullptr ? fastest.elements : only->elements;
}

std::vector<vx_InstructionSet> vf_SupportedInstructionSets() {
    std::vector<vx_InstructionSet> sets;
    for (const vx_InstructionSet set : slowestFirst) {
        if (runs(set)) {
            sets.push_back(set);
        }
    }
    return sets;
}

const char* vf_InstructionSetName(vx_InstructionSet set) {
    switch (set) {
    case vx_InstructionSet::sse2:
        return "SSE2";
    case vx_InstructionSet::avx2:
        return "AVX2";
    case vx_InstructionSet::avx512:
        return "AVX-512";
    default:
        return "portable";
    }
}

vx_ForcedInstructionSet::vx_ForcedInstructionSet(vx_InstructionSet set) {
    forced = kernelsOf(set);
}

vx_ForcedInstructionSet::~vx_ForcedInstructionSet() {
    forced = nullptr;
}
