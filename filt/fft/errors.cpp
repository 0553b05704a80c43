#include "filt/fft/errors.h"

#include "kavstd/archive.h"

#include <new>

using Defs = vxFrequencyDefs;

namespace {
// What differs between the classes: the number, and the name that an unknown version is reported with.
struct Kind {
    long number;
    const char* name;
};
template <class Error>
constexpr Kind kind = {};
template <>
constexpr Kind kind<Defs::Errors> = {0, "vxFrequencyDefs::Errors"}; // Abstract: never asked its number.
template <>
constexpr Kind kind<Defs::InvalidArgument> = {0x10006300, "vxFrequencyDefs::InvalidArgument"};
template <>
constexpr Kind kind<Defs::Uninitialized> = {0x10006301, "vxFrequencyDefs::Uninitialized"};
template <>
constexpr Kind kind<Defs::InvalidSize> = {0x10006302, "vxFrequencyDefs::InvalidSize"};
template <>
constexpr Kind kind<Defs::UnboundWindow> = {0x10006303, "vxFrequencyDefs::UnboundWindow"};
template <>
constexpr Kind kind<Defs::InvalidBuffer> = {0x10006304, "vxFrequencyDefs::InvalidBuffer"};
template <>
constexpr Kind kind<Defs::BadCoord> = {0x10006305, "vxFrequencyDefs::BadCoord"};
} // namespace

// What the classes share.
struct vx_ErrorMembers {
    template <class Error>
    [[noreturn]] static void deleteAndThrow(Error* error) {
        Error local(*error);
        delete error;
        throw local;
    }

    // Null when there is no memory.
    template <class Error>
    static vxPersistent* make() {
        return new (std::nothrow) Error;
    }

    template <class Error>
    static void dispatch(Error& error, vxArchive& archive) {
        if (Error::haveVisited(archive, &error, sizeof(Error))) {
            return;
        }
        unsigned char version = 0;
        archive || version;
        error.serialize_(archive, version);
        Error::setVisited(archive, &error, sizeof(Error));
    }

    template <class Error>
    static void requireKnown(unsigned char version) {
        if (version != 0) {
            throw vxArchive::UnknownVersion(kind<Error>.name, 0);
        }
    }
};

Defs::Errors::~Errors() = default;
void Defs::Errors::dispatchSerialize(vxArchive& archive) {
    vx_ErrorMembers::dispatch(*this, archive);
}
void Defs::Errors::serialize_(vxArchive& archive, unsigned char version) {
    vx_ErrorMembers::requireKnown<Errors>(version);
    // NOLINTNEXTLINE(bugprone-parent-virtual-call): vxException archives the message of any class.
    vxException::dispatchSerialize(archive); // The message too.
}

const vx_Instantiator Defs::InvalidArgument::sExemplar(typeid(InvalidArgument), &InvalidArgument::make);
vxPersistent* Defs::InvalidArgument::make() {
    return vx_ErrorMembers::make<InvalidArgument>();
}
Defs::InvalidArgument::~InvalidArgument() = default;
long Defs::InvalidArgument::errorNumber() const {
    return kind<InvalidArgument>.number;
}
void Defs::InvalidArgument::suicideAndRethrow() {
    vx_ErrorMembers::deleteAndThrow(this);
}
void Defs::InvalidArgument::dispatchSerialize(vxArchive& archive) {
    vx_ErrorMembers::dispatch(*this, archive);
}
void Defs::InvalidArgument::serialize_(vxArchive& archive, unsigned char version) {
    vx_ErrorMembers::requireKnown<InvalidArgument>(version);
    Errors::dispatchSerialize(archive);
}

const vx_Instantiator Defs::Uninitialized::sExemplar(typeid(Uninitialized), &Uninitialized::make);
vxPersistent* Defs::Uninitialized::make() {
    return vx_ErrorMembers::make<Uninitialized>();
}
Defs::Uninitialized::~Uninitialized() = default;
long Defs::Uninitialized::errorNumber() const {
    return kind<Uninitialized>.number;
}
void Defs::Uninitialized::suicideAndRethrow() {
    vx_ErrorMembers::deleteAndThrow(this);
}
void Defs::Uninitialized::dispatchSerialize(vxArchive& archive) {
    vx_ErrorMembers::dispatch(*this, archive);
}
void Defs::Uninitialized::serialize_(vxArchive& archive, unsigned char version) {
    vx_ErrorMembers::requireKnown<Uninitialized>(version);
    Errors::dispatchSerialize(archive);
}

const vx_Instantiator Defs::InvalidSize::sExemplar(typeid(InvalidSize), &InvalidSize::make);
vxPersistent* Defs::InvalidSize::make() {
    return vx_ErrorMembers::make<InvalidSize>();
}
Defs::InvalidSize::~InvalidSize() = default;
long Defs::InvalidSize::errorNumber() const {
    return kind<InvalidSize>.number;
}
void Defs::InvalidSize::suicideAndRethrow() {
    vx_ErrorMembers::deleteAndThrow(this);
}
void Defs::InvalidSize::dispatchSerialize(vxArchive& archive) {
    vx_ErrorMembers::dispatch(*this, archive);
}
void Defs::InvalidSize::serialize_(vxArchive& archive, unsigned char version) {
    vx_ErrorMembers::requireKnown<InvalidSize>(version);
    Errors::dispatchSerialize(archive);
}

const vx_Instantiator Defs::UnboundWindow::sExemplar(typeid(UnboundWindow), &UnboundWindow::make);
vxPersistent* Defs::UnboundWindow::make() {
    return vx_ErrorMembers::make<UnboundWindow>();
}
Defs::UnboundWindow::~UnboundWindow() = default;
long Defs::UnboundWindow::errorNumber() const {
    return kind<UnboundWindow>.number;
}
void Defs::UnboundWindow::suicideAndRethrow() {
    vx_ErrorMembers::deleteAndThrow(this);
}
void Defs::UnboundWindow::dispatchSerialize(vxArchive& archive) {
    vx_ErrorMembers::dispatch(*this, archive);
}
void Defs::UnboundWindow::serialize_(vxArchive& archive, unsigned char version) {
    vx_ErrorMembers::requireKnown<UnboundWindow>(version);
    Errors::dispatchSerialize(archive);
}

const vx_Instantiator Defs::InvalidBuffer::sExemplar(typeid(InvalidBuffer), &InvalidBuffer::make);
vxPersistent* Defs::InvalidBuffer::make() {
    return vx_ErrorMembers::make<InvalidBuffer>();
}
Defs::InvalidBuffer::~InvalidBuffer() = default;
long Defs::InvalidBuffer::errorNumber() const {
    return kind<InvalidBuffer>.number;
}
void Defs::InvalidBuffer::suicideAndRethrow() {
    vx_ErrorMembers::deleteAndThrow(this);
}
void Defs::InvalidBuffer::dispatchSerialize(vxArchive& archive) {
    vx_ErrorMembers::dispatch(*this, archive);
}
void Defs::InvalidBuffer::serialize_(vxArchive& archive, unsigned char version) {
    vx_ErrorMembers::requireKnown<InvalidBuffer>(version);
    Errors::dispatchSerialize(archive);
}

const vx_Instantiator Defs::BadCoord::sExemplar(typeid(BadCoord), &BadCoord::make);
vxPersistent* Defs::BadCoord::make() {
    return vx_ErrorMembers::make<BadCoord>();
}
Defs::BadCoord::~BadCoord() = default;
long Defs::BadCoord::errorNumber() const {
    return kind<BadCoord>.number;
}
void Defs::BadCoord::suicideAndRethrow() {
    vx_ErrorMembers::deleteAndThrow(this);
}
void Defs::BadCoord::dispatchSerialize(vxArchive& archive) {
    vx_ErrorMembers::dispatch(*this, archive);
}
void Defs::BadCoord::serialize_(vxArchive& archive, unsigned char version) {
    vx_ErrorMembers::requireKnown<BadCoord>(version);
    Errors::dispatchSerialize(archive);
}
