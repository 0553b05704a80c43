#include "filt/freqfilt/gabor_reject.h"

#include "filt/freqfilt/internal/flag_guard.h"
#include "filt/freqfilt/internal/gabor_family.h"

namespace {
constexpr const vx_FilterKind& kind = vx_Reject;
constexpr bool marksRows = false;
constexpr std::size_t patchSpare = vx_GainTable::alignmentSpare;
} // namespace

const vx_Instantiator vxFrequencyFilterGaborReject::sExemplar(typeid(vxFrequencyFilterGaborReject), &make);

vxPersistent* vxFrequencyFilterGaborReject::make() {
    return new vxFrequencyFilterGaborReject;
}

vxFrequencyFilterGaborReject::vxFrequencyFilterGaborReject() = default;
vxFrequencyFilterGaborReject::~vxFrequencyFilterGaborReject() = default;

vxFrequencyFilterGaborReject::vxFrequencyFilterGaborReject(const vxPair<double>& sigma,
                                                           const vxPair<double>& plateau, vxRadian angle,
                                                           double frequency, const vxPair<long>& size,
                                                           long dcProtectionRadius) {
    set(sigma, plateau, angle, frequency, size, dcProtectionRadius);
}

vxFrequencyFilterGaborReject::vxFrequencyFilterGaborReject(const vxFrequencyFilterGaborReject& other)
    : vxPersistent(), vxRepBase(), vxFrequencyFilter() {
    *this = other;
}

vxFrequencyFilterGaborReject&
vxFrequencyFilterGaborReject::operator=(const vxFrequencyFilterGaborReject& other) {
    if (!other.patch_.isBuilt()) {
        patch_.drop(); // Deliberate: flag and parameters stay as they were.
        return *this;
    }
    patch_ = vx_GainTable(other.patch_.data(), other.patch_.size());
    fields_ = other.fields_;
    vxFrequencyFilter::operator=(other);
    return *this;
}

vxFrequencyFilter* vxFrequencyFilterGaborReject::clone() const {
    return new vxFrequencyFilterGaborReject(*this);
}

void vxFrequencyFilterGaborReject::apply(const vxFrequencyBuffer& in, vxFrequencyBuffer& out) const {
    vf_ApplyGabor(fields_, patch_, kind, marksRows, in, out, vx_ResultSize::asInput);
}

void vxFrequencyFilterGaborReject::apply(vxFrequencyBuffer& buffer) const {
    vf_ApplyGabor(fields_, patch_, kind, marksRows, buffer, buffer, vx_ResultSize::kept);
}

bool vxFrequencyFilterGaborReject::operator==(const vxFrequencyFilterGaborReject& other) const {
    return initialized_ == other.initialized_ && vf_SameGabor(fields_, patch_, other.fields_, other.patch_);
}

void vxFrequencyFilterGaborReject::set(const vxPair<double>& sigma, const vxPair<double>& plateau,
                                       vxRadian angle, double frequency, const vxPair<long>& size,
                                       long dcProtectionRadius) {
    Fields parameters;
    parameters.sigma = sigma;
    parameters.plateau = plateau;
    parameters.angle = angle;
    parameters.frequency = frequency;
    parameters.size = size;
    parameters.dcRadius = dcProtectionRadius;
    create(parameters);
}

void vxFrequencyFilterGaborReject::create(const Fields& parameters) {
    const Fields fields = vf_CheckedGabor(parameters, kind);
    mutating();
    vf_BuildPatch(fields, kind, patchSpare, patch_);
    fields_ = fields;
    initialized_ = true;
}

const vxFrequencyFilterGaborReject::Fields& vxFrequencyFilterGaborReject::built() const {
    vf_CheckBuilt(patch_);
    return fields_;
}

template <class T>
void vxFrequencyFilterGaborReject::change(T Fields::*field, const T& value) {
    if (value != built().*field) {
        Fields parameters = fields_;
        parameters.*field = value;
        create(parameters);
    }
}

void vxFrequencyFilterGaborReject::sigma(const vxPair<double>& value) {
    change(&Fields::sigma, value);
}

vxPair<double> vxFrequencyFilterGaborReject::sigma() const {
    return built().sigma;
}

void vxFrequencyFilterGaborReject::plateau(const vxPair<double>& value) {
    change(&Fields::plateau, value);
}

vxPair<double> vxFrequencyFilterGaborReject::plateau() const {
    return built().plateau;
}

void vxFrequencyFilterGaborReject::angle(vxRadian value) {
    change(&Fields::angle, value);
}

vxRadian vxFrequencyFilterGaborReject::angle() const {
    return built().angle;
}

void vxFrequencyFilterGaborReject::frequency(double value) {
    // Deliberate: neither less nor greater is equal, so a NaN changes nothing.
    if (!vf_Same(value, built().frequency)) {
        change(&Fields::frequency, value);
    }
}

double vxFrequencyFilterGaborReject::frequency() const {
    return built().frequency;
}

void vxFrequencyFilterGaborReject::size(const vxPair<long>& value) {
    change(&Fields::size, value);
}

vxPair<long> vxFrequencyFilterGaborReject::size() const {
    return built().size;
}

void vxFrequencyFilterGaborReject::dcProtectionRadius(long value) {
    change(&Fields::dcRadius, value);
}

long vxFrequencyFilterGaborReject::dcProtectionRadius() const {
    return built().dcRadius;
}

long vxFrequencyFilterGaborReject::supportWidth() const {
    return built().supportWidth;
}

long vxFrequencyFilterGaborReject::supportHeight() const {
    return built().supportHeight;
}

const float* vxFrequencyFilterGaborReject::data() const {
    return patch_.data();
}

void vxFrequencyFilterGaborReject::dispatchSerialize(vxArchive& archive) {
    if (haveVisited(archive, this, sizeof(vxFrequencyFilterGaborReject))) {
        return;
    }
    unsigned char version = 0;
    archive || version;
    // Not virtual here: the part archives itself, whatever the object's class.
    vxFrequencyFilterGaborReject::serialize_(archive, version);
    setVisited(archive, this, sizeof(vxFrequencyFilterGaborReject));
}

void vxFrequencyFilterGaborReject::serialize_(vxArchive& archive, unsigned char version) {
    if (version != 0) {
        throw vxArchive::UnknownVersion("filt/freqfilt", __LINE__);
    }
    const vx_FlagGuard guard(initialized_);
    vxFrequencyFilter::dispatchSerialize(archive);
    vf_ArchiveGabor(archive, fields_, patch_);
}
