#include "kavstd/archive.h"
#include "kavstd/internal/archive_records.h"

#include <utility>

namespace {

std::string versionMessage(const char* file, long line) {
    const std::string message = "Unknown version";
    return file == nullptr ? message : message + " (" + file + ":" + std::to_string(line) + ")";
}

const vx_Instantiator exemplars[] = {
    {typeid(vxArchive::UnknownVersion), vxArchive::UnknownVersion::make},
    {typeid(vxArchive::EndOfData), vxArchive::EndOfData::make},
    {typeid(vxArchive::Malformed), vxArchive::Malformed::make},
    {typeid(vxArchive::UnknownType), vxArchive::UnknownType::make},
    {typeid(vxArchive::WriteFailed), vxArchive::WriteFailed::make},
};

} // namespace

vxArchive::UnknownVersion::UnknownVersion(const char* file, long line)
    : vx_ConcreteError(versionMessage(file, line).c_str())
    , file_(file == nullptr ? nullptr : std::make_shared<const std::string>(file))
    , line_(line) {}

vxArchive::UnknownVersion::UnknownVersion(Message message) : vx_ConcreteError(message.text) {}

vxArchive::UnknownVersion::~UnknownVersion() = default;

const char* vxArchive::UnknownVersion::file() const noexcept {
    return file_ ? file_->c_str() : nullptr;
}

long vxArchive::UnknownVersion::line() const noexcept {
    return line_;
}

void vxArchive::UnknownVersion::dispatchSerialize(vxArchive& archive) {
    if (haveVisited(archive, this, sizeof(UnknownVersion))) {
        return;
    }
    vf_ArchiveVersion(archive, "vxArchive::UnknownVersion");
    vxExceptionWithString::dispatchSerialize(archive);
    bool hasFile = file_ != nullptr;
    std::string file = hasFile ? *file_ : std::string();
    long line = line_;
    archive || hasFile;
    if (hasFile) {
        vf_ArchiveText(archive, file);
    }
    archive || line;
    if (archive.isLoading()) {
        auto staged = hasFile ? std::make_shared<const std::string>(std::move(file)) : nullptr;
        archive.onRollback([this, before = file_, beforeLine = line_]() mutable {
            file_.swap(before);
            line_ = beforeLine;
        });
        file_ = std::move(staged);
        line_ = line;
    }
    setVisited(archive, this, sizeof(UnknownVersion));
}

vxArchive::EndOfData::~EndOfData() = default;
vxArchive::Malformed::~Malformed() = default;
vxArchive::UnknownType::~UnknownType() = default;
vxArchive::WriteFailed::~WriteFailed() = default;
