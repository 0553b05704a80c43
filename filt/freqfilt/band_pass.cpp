#include "filt/freqfilt/band_pass.h"

#include "filt/freqfilt/internal/band_family.h"
#include "filt/freqfilt/internal/flag_guard.h"

namespace {
constexpr const vx_FilterKind& kind = vx_Pass;
} // namespace

const vx_Instantiator vxFrequencyFilterBandPass::sExemplar(typeid(vxFrequencyFilterBandPass), &make);

vxPersistent* vxFrequencyFilterBandPass::make() {
    return new vxFrequencyFilterBandPass;
}

vxFrequencyFilterBandPass::vxFrequencyFilterBandPass() = default;
vxFrequencyFilterBandPass::~vxFrequencyFilterBandPass() = default;

vxFrequencyFilterBandPass::vxFrequencyFilterBandPass(double sigma, double plateau, double frequency,
                                                     const vxPair<long>& size, long dcRemovalRadius) {
    set(sigma, plateau, frequency, size, dcRemovalRadius);
}

vxFrequencyFilterBandPass::vxFrequencyFilterBandPass(const vxFrequencyFilterBandPass& other)
    : vxPersistent(), vxRepBase(), vxFrequencyFilter() {
    *this = other;
}

vxFrequencyFilterBandPass& vxFrequencyFilterBandPass::operator=(const vxFrequencyFilterBandPass& other) {
    if (!other.profile_.isBuilt()) {
        profile_.drop(); // Deliberate: flag and parameters stay as they were.
        return *this;
    }
    profile_ = vx_GainTable(other.profile_.data(), other.profile_.size());
    fields_ = other.fields_;
    vxFrequencyFilter::operator=(other);
    return *this;
}

vxFrequencyFilter* vxFrequencyFilterBandPass::clone() const {
    return new vxFrequencyFilterBandPass(*this);
}

void vxFrequencyFilterBandPass::apply(const vxFrequencyBuffer& in, vxFrequencyBuffer& out) const {
    vf_ApplyBand(fields_, profile_, kind, in, out, vx_ResultSize::asInput);
}

void vxFrequencyFilterBandPass::apply(vxFrequencyBuffer& buffer) const {
    vf_ApplyBand(fields_, profile_, kind, buffer, buffer, vx_ResultSize::kept);
}

bool vxFrequencyFilterBandPass::operator==(const vxFrequencyFilterBandPass& other) const {
    return initialized_ == other.initialized_ &&
           vf_SameBand(fields_, profile_, other.fields_, other.profile_);
}

void vxFrequencyFilterBandPass::set(double sigma, double plateau, double frequency, const vxPair<long>& size,
                                    long dcRemovalRadius) {
    Fields parameters;
    parameters.sigma = sigma;
    parameters.plateau = plateau;
    parameters.frequency = frequency;
    parameters.size = size;
    parameters.dcRadius = dcRemovalRadius;
    create(parameters);
}

void vxFrequencyFilterBandPass::create(const Fields& parameters) {
    const Fields fields = vf_CheckedBand(parameters, kind);
    mutating();
    vf_BuildProfile(fields, kind, profile_);
    fields_ = fields;
    initialized_ = true;
}

const vxFrequencyFilterBandPass::Fields& vxFrequencyFilterBandPass::built() const {
    vf_CheckBuilt(profile_);
    return fields_;
}

template <class T>
void vxFrequencyFilterBandPass::change(T Fields::*field, const T& value) {
    // A NaN differs from everything, so that the checks refuse it.
    if (value != built().*field) {
        Fields parameters = fields_;
        parameters.*field = value;
        create(parameters);
    }
}

void vxFrequencyFilterBandPass::sigma(double value) {
    change(&Fields::sigma, value);
}

double vxFrequencyFilterBandPass::sigma() const {
    return built().sigma;
}

void vxFrequencyFilterBandPass::plateau(double value) {
    change(&Fields::plateau, value);
}

double vxFrequencyFilterBandPass::plateau() const {
    return built().plateau;
}

void vxFrequencyFilterBandPass::frequency(double value) {
    change(&Fields::frequency, value);
}

double vxFrequencyFilterBandPass::frequency() const {
    return built().frequency;
}

void vxFrequencyFilterBandPass::size(const vxPair<long>& value) {
    change(&Fields::size, value);
}

vxPair<long> vxFrequencyFilterBandPass::size() const {
    return built().size;
}

void vxFrequencyFilterBandPass::dcRemovalRadius(long value) {
    change(&Fields::dcRadius, value);
}

long vxFrequencyFilterBandPass::dcRemovalRadius() const {
    return built().dcRadius;
}

long vxFrequencyFilterBandPass::supportWidth() const {
    return built().supportWidth;
}

const float* vxFrequencyFilterBandPass::data() const {
    return profile_.data();
}

void vxFrequencyFilterBandPass::dispatchSerialize(vxArchive& archive) {
    if (haveVisited(archive, this, sizeof(vxFrequencyFilterBandPass))) {
        return;
    }
    unsigned char version = 0;
    archive || version;
    // Not virtual here: the part archives itself, whatever the object's class.
    vxFrequencyFilterBandPass::serialize_(archive, version);
    setVisited(archive, this, sizeof(vxFrequencyFilterBandPass));
}

void vxFrequencyFilterBandPass::serialize_(vxArchive& archive, unsigned char version) {
    if (version != 0) {
        throw vxArchive::UnknownVersion("filt/freqfilt", __LINE__);
    }
    const vx_FlagGuard guard(initialized_);
    vxFrequencyFilter::dispatchSerialize(archive);
    vf_ArchiveBand(archive, fields_, profile_);
}
