#include "filt/freqfilt/band_reject.h"

#include "filt/freqfilt/internal/band_family.h"
#include "filt/freqfilt/internal/flag_guard.h"

namespace {
constexpr const vx_FilterKind& kind = vx_Reject;
} // namespace

const vx_Instantiator vxFrequencyFilterBandReject::sExemplar(typeid(vxFrequencyFilterBandReject), &make);

vxPersistent* vxFrequencyFilterBandReject::make() {
    return new vxFrequencyFilterBandReject;
}

vxFrequencyFilterBandReject::vxFrequencyFilterBandReject() = default;
vxFrequencyFilterBandReject::~vxFrequencyFilterBandReject() = default;

vxFrequencyFilterBandReject::vxFrequencyFilterBandReject(double sigma, double plateau, double frequency,
                                                         const vxPair<long>& size, long dcProtectionRadius) {
    set(sigma, plateau, frequency, size, dcProtectionRadius);
}

vxFrequencyFilterBandReject::vxFrequencyFilterBandReject(const vxFrequencyFilterBandReject& other)
    : vxPersistent(), vxRepBase(), vxFrequencyFilter() {
    *this = other;
}

vxFrequencyFilterBandReject&
vxFrequencyFilterBandReject::operator=(const vxFrequencyFilterBandReject& other) {
    if (!other.profile_.isBuilt()) {
        profile_.drop(); // Deliberate: flag and parameters stay as they were.
        return *this;
    }
    profile_ = vx_GainTable(other.profile_.data(), other.profile_.size());
    fields_ = other.fields_;
    vxFrequencyFilter::operator=(other);
    return *this;
}

vxFrequencyFilter* vxFrequencyFilterBandReject::clone() const {
    return new vxFrequencyFilterBandReject(*this);
}

void vxFrequencyFilterBandReject::apply(const vxFrequencyBuffer& in, vxFrequencyBuffer& out) const {
    vf_ApplyBand(fields_, profile_, kind, in, out, vx_ResultSize::asInput);
}

void vxFrequencyFilterBandReject::apply(vxFrequencyBuffer& buffer) const {
    vf_ApplyBand(fields_, profile_, kind, buffer, buffer, vx_ResultSize::kept);
}

bool vxFrequencyFilterBandReject::operator==(const vxFrequencyFilterBandReject& other) const {
    return initialized_ == other.initialized_ &&
           vf_SameBand(fields_, profile_, other.fields_, other.profile_);
}

void vxFrequencyFilterBandReject::set(double sigma, double plateau, double frequency,
                                      const vxPair<long>& size, long dcProtectionRadius) {
    Fields parameters;
    parameters.sigma = sigma;
    parameters.plateau = plateau;
    parameters.frequency = frequency;
    parameters.size = size;
    parameters.dcRadius = dcProtectionRadius;
    create(parameters);
}

void vxFrequencyFilterBandReject::create(const Fields& parameters) {
    const Fields fields = vf_CheckedBand(parameters, kind);
    mutating();
    vf_BuildProfile(fields, kind, profile_);
    fields_ = fields;
    initialized_ = true;
}

const vxFrequencyFilterBandReject::Fields& vxFrequencyFilterBandReject::built() const {
    vf_CheckBuilt(profile_);
    return fields_;
}

template <class T>
void vxFrequencyFilterBandReject::change(T Fields::*field, const T& value) {
    // A NaN differs from everything, so that the checks refuse it.
    if (value != built().*field) {
        Fields parameters = fields_;
        parameters.*field = value;
        create(parameters);
    }
}

void vxFrequencyFilterBandReject::sigma(double value) {
    change(&Fields::sigma, value);
}

double vxFrequencyFilterBandReject::sigma() const {
    return built().sigma;
}

void vxFrequencyFilterBandReject::plateau(double value) {
    change(&Fields::plateau, value);
}

double vxFrequencyFilterBandReject::plateau() const {
    return built().plateau;
}

void vxFrequencyFilterBandReject::frequency(double value) {
    change(&Fields::frequency, value);
}

double vxFrequencyFilterBandReject::frequency() const {
    return built().frequency;
}

void vxFrequencyFilterBandReject::size(const vxPair<long>& value) {
    change(&Fields::size, value);
}

vxPair<long> vxFrequencyFilterBandReject::size() const {
    return built().size;
}

void vxFrequencyFilterBandReject::dcProtectionRadius(long value) {
    change(&Fields::dcRadius, value);
}

long vxFrequencyFilterBandReject::dcProtectionRadius() const {
    return built().dcRadius;
}

long vxFrequencyFilterBandReject::supportWidth() const {
    return built().supportWidth;
}

const float* vxFrequencyFilterBandReject::data() const {
    return profile_.data();
}

void vxFrequencyFilterBandReject::dispatchSerialize(vxArchive& archive) {
    if (haveVisited(archive, this, sizeof(vxFrequencyFilterBandReject))) {
        return;
    }
    unsigned char version = 0;
    archive || version;
    // Not virtual here: the part archives itself, whatever the object's class.
    vxFrequencyFilterBandReject::serialize_(archive, version);
    setVisited(archive, this, sizeof(vxFrequencyFilterBandReject));
}

void vxFrequencyFilterBandReject::serialize_(vxArchive& archive, unsigned char version) {
    if (version != 0) {
        throw vxArchive::UnknownVersion("filt/freqfilt", __LINE__);
    }
    const vx_FlagGuard guard(initialized_);
    vxFrequencyFilter::dispatchSerialize(archive);
    vf_ArchiveBand(archive, fields_, profile_);
}
