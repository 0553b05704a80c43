#include "filt/freqfilt/gabor.h"

#include "filt/freqfilt/internal/flag_guard.h"
#include "filt/freqfilt/internal/gabor_family.h"

namespace {
constexpr const vx_FilterKind& kind = vx_Pass;
constexpr bool marksRows = true;
constexpr std::size_t patchSpare = 7; // Deliberate: more than the alignment needs, and than copies have.
} // namespace

const vx_Instantiator vxFrequencyFilterGabor::sExemplar(typeid(vxFrequencyFilterGabor), &make);

vxPersistent* vxFrequencyFilterGabor::make() {
    return new vxFrequencyFilterGabor;
}

vxFrequencyFilterGabor::vxFrequencyFilterGabor() = default;
vxFrequencyFilterGabor::~vxFrequencyFilterGabor() = default;

vxFrequencyFilterGabor::vxFrequencyFilterGabor(const vxPair<double>& sigma, const vxPair<double>& plateau,
                                               vxRadian angle, double frequency, const vxPair<long>& size,
                                               long dcRemovalRadius) {
    set(sigma, plateau, angle, frequency, size, dcRemovalRadius);
}

vxFrequencyFilterGabor::vxFrequencyFilterGabor(const vxFrequencyFilterGabor& other)
    : vxPersistent(), vxRepBase(), vxFrequencyFilter() {
    *this = other;
}

vxFrequencyFilterGabor& vxFrequencyFilterGabor::operator=(const vxFrequencyFilterGabor& other) {
    if (!other.patch_.isBuilt()) {
        patch_.drop(); // Deliberate: flag and parameters stay as they were.
        return *this;
    }
    patch_ = vx_GainTable(other.patch_.data(), other.patch_.size());
    fields_ = other.fields_;
    vxFrequencyFilter::operator=(other);
    return *this;
}

vxFrequencyFilter* vxFrequencyFilterGabor::clone() const {
    return new vxFrequencyFilterGabor(*this);
}

void vxFrequencyFilterGabor::apply(const vxFrequencyBuffer& in, vxFrequencyBuffer& out) const {
    vf_ApplyGabor(fields_, patch_, kind, marksRows, in, out, vx_ResultSize::asInput);
}

void vxFrequencyFilterGabor::apply(vxFrequencyBuffer& buffer) const {
    vf_ApplyGabor(fields_, patch_, kind, marksRows, buffer, buffer, vx_ResultSize::kept);
}

bool vxFrequencyFilterGabor::operator==(const vxFrequencyFilterGabor& other) const {
    return initialized_ == other.initialized_ && vf_SameGabor(fields_, patch_, other.fields_, other.patch_);
}

void vxFrequencyFilterGabor::set(const vxPair<double>& sigma, const vxPair<double>& plateau, vxRadian angle,
                                 double frequency, const vxPair<long>& size, long dcRemovalRadius) {
    Fields parameters;
    parameters.sigma = sigma;
    parameters.plateau = plateau;
    parameters.angle = angle;
    parameters.frequency = frequency;
    parameters.size = size;
    parameters.dcRadius = dcRemovalRadius;
    create(parameters);
}

void vxFrequencyFilterGabor::create(const Fields& parameters) {
    const Fields fields = vf_CheckedGabor(parameters, kind);
    mutating();
    vf_BuildPatch(fields, kind, patchSpare, patch_);
    fields_ = fields;
    initialized_ = true;
}

const vxFrequencyFilterGabor::Fields& vxFrequencyFilterGabor::built() const {
    vf_CheckBuilt(patch_);
    return fields_;
}

template <class T>
void vxFrequencyFilterGabor::change(T Fields::*field, const T& value) {
    if (value != built().*field) {
        Fields parameters = fields_;
        parameters.*field = value;
        create(parameters);
    }
}

void vxFrequencyFilterGabor::sigma(const vxPair<double>& value) {
    change(&Fields::sigma, value);
}

vxPair<double> vxFrequencyFilterGabor::sigma() const {
    return built().sigma;
}

void vxFrequencyFilterGabor::plateau(const vxPair<double>& value) {
    change(&Fields::plateau, value);
}

vxPair<double> vxFrequencyFilterGabor::plateau() const {
    return built().plateau;
}

void vxFrequencyFilterGabor::angle(vxRadian value) {
    change(&Fields::angle, value);
}

vxRadian vxFrequencyFilterGabor::angle() const {
    return built().angle;
}

void vxFrequencyFilterGabor::frequency(double value) {
    // Deliberate: neither less nor greater is equal, so a NaN changes nothing.
    if (!vf_Same(value, built().frequency)) {
        change(&Fields::frequency, value);
    }
}

double vxFrequencyFilterGabor::frequency() const {
    return built().frequency;
}

void vxFrequencyFilterGabor::size(const vxPair<long>& value) {
    change(&Fields::size, value);
}

vxPair<long> vxFrequencyFilterGabor::size() const {
    return built().size;
}

void vxFrequencyFilterGabor::dcRemovalRadius(long value) {
    change(&Fields::dcRadius, value);
}

long vxFrequencyFilterGabor::dcRemovalRadius() const {
    return built().dcRadius;
}

long vxFrequencyFilterGabor::supportWidth() const {
    return built().supportWidth;
}

long vxFrequencyFilterGabor::supportHeight() const {
    return built().supportHeight;
}

const float* vxFrequencyFilterGabor::data() const {
    return patch_.data();
}

void vxFrequencyFilterGabor::dispatchSerialize(vxArchive& archive) {
    if (haveVisited(archive, this, sizeof(vxFrequencyFilterGabor))) {
        return;
    }
    unsigned char version = 0;
    archive || version;
    // Not virtual here: the part archives itself, whatever the object's class.
    vxFrequencyFilterGabor::serialize_(archive, version);
    setVisited(archive, this, sizeof(vxFrequencyFilterGabor));
}

void vxFrequencyFilterGabor::serialize_(vxArchive& archive, unsigned char version) {
    if (version != 0) {
        throw vxArchive::UnknownVersion("filt/freqfilt", __LINE__);
    }
    const vx_FlagGuard guard(initialized_);
    vxFrequencyFilter::dispatchSerialize(archive);
    vf_ArchiveGabor(archive, fields_, patch_);
}
