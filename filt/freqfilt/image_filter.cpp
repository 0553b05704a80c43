#include "filt/freqfilt/image_filter.h"

#include "filt/fft/arithmetic.h"
#include "filt/freqfilt/internal/flag_guard.h"
#include "filt/internal/buffer_access.h"
#include "filt/internal/messages.h"

#include <memory>

namespace {
using Access = vx_FrequencyBufferAccess;

void checkSamples(const vxFrequencyBuffer& buffer) {
    if (Access::data(buffer) == nullptr) {
        throw vxFrequencyDefs::Uninitialized(vx_Messages::bufferUninitialized);
    }
}

// Whether `target` already has the samples that a copy of `source` needs.
bool reusesStorage(const vxFrequencyBuffer& target, const vxFrequencyBuffer& source) {
    return Access::data(target) != nullptr && Access::size(target) == Access::copySize(source);
}

// target = source, or an exception and no change.
void assign(vxFrequencyBuffer& target, const vxFrequencyBuffer& source) {
    if (Access::data(source) == nullptr || reusesStorage(target, source)) {
        target = source; // Allocates nothing.
        return;
    }
    vxFrequencyBuffer copy(source);
    Access::swap(target, copy);
}
} // namespace

const vx_Instantiator vxFrequencyFilterImage::sExemplar(typeid(vxFrequencyFilterImage), &make);

vxPersistent* vxFrequencyFilterImage::make() {
    return new vxFrequencyFilterImage;
}

vxFrequencyFilterImage::vxFrequencyFilterImage() = default;
vxFrequencyFilterImage::~vxFrequencyFilterImage() = default;

vxFrequencyFilterImage::vxFrequencyFilterImage(const vxFrequencyBuffer& image) {
    create(image);
}

vxFrequencyFilterImage::vxFrequencyFilterImage(const vxFrequencyFilterImage& other)
    : vxPersistent(), vxRepBase(), vxFrequencyFilter() {
    *this = other;
}

vxFrequencyFilterImage& vxFrequencyFilterImage::operator=(const vxFrequencyFilterImage& other) {
    if (this != &other) {
        assign(image_, other.image_);
        vxFrequencyFilter::operator=(other);
    }
    return *this;
}

vxFrequencyFilter* vxFrequencyFilterImage::clone() const {
    return new vxFrequencyFilterImage(*this);
}

void vxFrequencyFilterImage::apply(const vxFrequencyBuffer& in, vxFrequencyBuffer& out) const {
    checkOperand(in);
    // The copy that is multiplied can be smaller than `in`; that is refused before consumed operands are.
    if (&in != &out && Access::copySize(in) != vxPair<long>(supportWidth(), supportHeight())) {
        throw vxFrequencyDefs::InvalidSize(vx_Messages::multiplySizesDiffer);
    }
    vfFrequencyMultiply(in, image_, out);
    maskFrequencyBuffer(out, false, 0, 0);
}

void vxFrequencyFilterImage::apply(vxFrequencyBuffer& buffer) const {
    checkOperand(buffer);
    vfFrequencyMultiply(image_, buffer);
    maskFrequencyBuffer(buffer, false, 0, 0);
}

bool vxFrequencyFilterImage::operator==(const vxFrequencyFilterImage& other) const {
    return initialized_ == other.initialized_ && image_ == other.image_;
}

void vxFrequencyFilterImage::setImage(const vxFrequencyBuffer& image) {
    create(image);
}

void vxFrequencyFilterImage::create(const vxFrequencyBuffer& image) {
    checkSamples(image);
    mutating();
    assign(image_, image);
    initialized_ = true;
}

void vxFrequencyFilterImage::checkOperand(const vxFrequencyBuffer& buffer) const {
    checkSamples(buffer);
    checkSamples(image_); // Deliberate: the buffer's message, not the other filters'.
    if (buffer.width() != image_.width() || buffer.height() != image_.height()) {
        throw vxFrequencyDefs::InvalidSize(vx_Messages::filterSizeMismatch);
    }
}

long vxFrequencyFilterImage::supportWidth() const {
    return image_.width();
}

long vxFrequencyFilterImage::supportHeight() const {
    return image_.height();
}

void vxFrequencyFilterImage::dispatchSerialize(vxArchive& archive) {
    if (haveVisited(archive, this, sizeof(vxFrequencyFilterImage))) {
        return;
    }
    unsigned char version = 0;
    archive || version;
    // Not virtual here: the part archives itself, whatever the object's class.
    vxFrequencyFilterImage::serialize_(archive, version);
    setVisited(archive, this, sizeof(vxFrequencyFilterImage));
}

void vxFrequencyFilterImage::serialize_(vxArchive& archive, unsigned char version) {
    if (version != 0) {
        throw vxArchive::UnknownVersion("filt/freqfilt", __LINE__);
    }
    const vx_FlagGuard guard(initialized_);
    vxFrequencyFilter::dispatchSerialize(archive);
    if (!archive.isLoading()) {
        archive || image_;
        return;
    }
    const auto other = std::make_shared<vxFrequencyBuffer>();
    archive || *other;
    archive.onRollback([this, other] { Access::swap(image_, *other); });
    Access::swap(image_, *other);
}
