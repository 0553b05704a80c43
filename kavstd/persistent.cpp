#include "kavstd/persistent.h"

#include "kavstd/internal/archive_state.h"

namespace {

std::atomic<std::uint64_t> nextIdentity = 1; // 0 stands for no object.

std::uint64_t newIdentity() noexcept {
    return nextIdentity.fetch_add(1, std::memory_order_relaxed);
}

} // namespace

vxPersistent::vxPersistent() noexcept : identity_(newIdentity()) {}
vxPersistent::vxPersistent(const vxPersistent&) noexcept : vxPersistent() {}

// The assigned-to object stays the same object.
// NOLINTNEXTLINE(bugprone-unhandled-self-assignment)
vxPersistent& vxPersistent::operator=(const vxPersistent&) noexcept {
    return *this;
}

vxPersistent::~vxPersistent() {
    for (vx_Undo* undo = undos_; undo != nullptr; undo = undo->older) {
        undo->object = nullptr;
    }
}

void vxPersistent::dispatchSerialize(vxArchive&) {}

void vxPersistent::reInit() {}

void vxPersistent::loadSimple(vxArchive& archive) {
    archive.state_->inPlace(*this, true);
}

// Nothing watches changes yet; the call marks where state changes.
void vxPersistent::mutating() noexcept {}

bool vxPersistent::haveVisited(vxArchive& archive, const void* part, std::size_t size) {
    return archive.state_->haveVisited(part, size);
}

void vxPersistent::setVisited(vxArchive& archive, const void* part, std::size_t size) {
    archive.state_->setVisited(part, size);
}

vxRepBase::~vxRepBase() = default;

void vxRepBase::addReference() const noexcept {
    references_.fetch_add(1, std::memory_order_relaxed);
}

void vxRepBase::removeReference() const noexcept {
    // Whoever deletes must see what every other owner did before it let go.
    if (references_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        delete this;
    }
}

long vxRepBase::referenceCount() const noexcept {
    return references_.load(std::memory_order_relaxed);
}
