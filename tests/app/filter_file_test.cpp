#include "app/filter_file.h"

#include "app/errors.h"
#include "tests/app/archives.h"
#include "tests/app/images.h"

#include <gmock/gmock.h>

#include <cmath>
#include <memory>
#include <sstream>

namespace {

using app::Overwrite;
using testing::HasSubstr;
using testing::StartsWith;

const vxPair<long> size(16, 8);

std::string refusal(const Bytes& bytes) {
    std::istringstream file(std::string(bytes.begin(), bytes.end()));
    return messageOf<app::UnreadableError>([&] { static_cast<void>(app::readFilter(file)); });
}

// One of every type.
std::vector<app::FilterPointer> everyFilter() {
    std::vector<app::FilterPointer> filters;
    for (const std::string& type : app::filterTypes()) {
        app::FilterParameters p = {type, 0.2, 0.05, 0.01, 1};
        p.pair = false;
        if (type == "image") {
            p = {};
            p.type = type;
            p.kernel = patternImage(3, 3, app::Depth::bits8);
        }
        filters.push_back(app::makeFilter(p, size));
    }
    return filters;
}

bool sameBytes(vxFrequencyFilter& a, vxFrequencyFilter& b) {
    return archiveOf(&a) == archiveOf(&b);
}

TEST(FilterFile, GivesBackEveryType) {
    const TemporaryFolder folder;
    for (const app::FilterPointer& filter : everyFilter()) {
        app::writeFilter(folder / "f.kav", *filter, Overwrite::force);
        EXPECT_EQ(readBytes(folder / "f.kav"), archiveOf(filter.get()));
        const app::BuiltFilter back = app::readFilter(folder / "f.kav");
        EXPECT_EQ(back.name, (folder / "f.kav").string());
        EXPECT_EQ(app::describe(*back.filter).value().parameters.type,
                  app::describe(*filter).value().parameters.type);
        EXPECT_TRUE(sameBytes(*back.filter, *filter));
        EXPECT_TRUE(app::gains(*back.filter, size) == app::gains(*filter, size));
    }
}

TEST(FilterFile, IsNamedKav) {
    EXPECT_NO_THROW(app::checkFilterFormat("a.b/f.kav"));
    for (const char* name : {"f", "f.png", "f.KAV", ".kav", "kav"}) {
        EXPECT_THROW(app::checkFilterFormat(name), app::UsageError) << name;
        EXPECT_THROW(app::writeFilter(name, *everyFilter().front(), Overwrite::force), app::UsageError);
    }
}

TEST(FilterFile, IsWrittenLikeAnyOutput) {
    const TemporaryFolder folder;
    writeBytes(folder / "f.kav", bytesOf("old"));
    EXPECT_THROW(app::writeFilter(folder / "f.kav", *everyFilter().front(), Overwrite::refuse),
                 app::WriteError);
    EXPECT_EQ(readBytes(folder / "f.kav"), bytesOf("old"));
    EXPECT_THAT(folder.names(), testing::ElementsAre("f.kav"));
}

TEST(FilterFile, IsToldFromOthersByItsStart) {
    const auto isArchive = [](const std::string& bytes) {
        std::istringstream file(bytes);
        const bool result = app::isArchive(file);
        EXPECT_EQ(file.tellg(), 0);
        return result;
    };
    const Bytes bytes = archiveOf(nullptr);
    EXPECT_TRUE(isArchive({bytes.begin(), bytes.end()}));
    EXPECT_FALSE(isArchive("KAVARCH"));
    EXPECT_FALSE(isArchive(""));
    EXPECT_FALSE(isArchive("P5 1 1 255 x"));
}

TEST(ReadFilter, NamesTheFile) {
    const TemporaryFolder folder;
    const auto refused = [&](const Bytes& bytes) {
        writeBytes(folder / "f.kav", bytes);
        return messageOf<app::UnreadableError>([&] { static_cast<void>(app::readFilter(folder / "f.kav")); });
    };
    const std::string start = "cannot read " + (folder / "f.kav").string() + ": ";
    EXPECT_THAT(refused(bytesOf("KAVA")), StartsWith(start));
    EXPECT_EQ(refused(archiveOf(nullptr)), start + "the archive holds no filter");
    EXPECT_THROW(static_cast<void>(app::readFilter(folder / "none.kav")), app::UnreadableError);
}

TEST(ReadFilter, RefusesArchivesOfOtherThings) {
    EXPECT_EQ(refusal(archiveOf(nullptr)), "the archive holds no filter");
    vxFrequencyDefs::InvalidSize error("text");
    EXPECT_EQ(refusal(archiveOf(&error)), "the archive holds something else than a filter");
    Bytes longer = archiveOf(everyFilter().front().get());
    longer.push_back(0);
    EXPECT_EQ(refusal(longer), "the file goes on after the filter");
    Bytes unknown = archiveOf(everyFilter().front().get());
    unknown[18] = '?'; // In the type's name.
    EXPECT_NE(refusal(unknown), "");
}

TEST(ReadFilter, RefusesEveryTruncation) {
    for (const app::FilterPointer& filter : everyFilter()) {
        const Bytes bytes = archiveOf(filter.get());
        ASSERT_EQ(refusal(bytes), "");
        for (std::size_t length = 0; length < bytes.size(); ++length) {
            const Bytes cut(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length));
            ASSERT_NE(refusal(cut), "") << length << " of " << bytes.size();
        }
    }
}

// A byte that is part of a number may make another filter, which then can be applied.
TEST(ReadFilter, LoadsOrRefusesEveryChangedByte) {
    for (const app::FilterPointer& filter : everyFilter()) {
        const Bytes bytes = archiveOf(filter.get());
        long refused = 0;
        for (std::size_t at = 0; at < bytes.size(); ++at) {
            for (const int flip : {0x01, 0x40, 0x80, 0xff}) {
                Bytes changed = bytes;
                changed[at] = static_cast<unsigned char>(changed[at] ^ flip);
                std::istringstream file(std::string(changed.begin(), changed.end()));
                try {
                    const app::FilterPointer loaded = app::readFilter(file);
                    const vxPair<long> loadedSize = app::describe(*loaded).value().size;
                    EXPECT_NO_THROW(static_cast<void>(app::gains(*loaded, loadedSize)));
                } catch (const app::UnreadableError&) {
                    ++refused;
                }
            }
        }
        EXPECT_GT(refused, 0);
    }
}

TEST(ReadFilter, RefusesFiltersThatCannotBeApplied) {
    vxFrequencyFilterGabor unbuilt;
    EXPECT_EQ(refusal(archiveOf(&unbuilt)), "FrequencyFilter has not been initialized");
    vxFrequencyFilterImage empty;
    EXPECT_EQ(refusal(archiveOf(&empty)), "FrequencyBuffer has not been initialized");
    vxFrequencyFilterBandPass large(0.1, 0, 0.2, {4096, 1}, 0);
    EXPECT_EQ(refusal(archiveOf(&large)), "it is a filter for 4096 x 1 spectra, which no image has");
    vxFrequencyFilterBandPass wide(2, 0, 0.2, size, 0);
    EXPECT_EQ(refusal(archiveOf(&wide)), "Sigma must not be above 1.");
    vxFrequencyFilterGabor square({0.1, 0.1}, {0, 0}, vxRadian(), 0.2, size, 6);
    EXPECT_EQ(refusal(archiveOf(&square)),
              "the square of --dc around the DC reaches outside the 16 x 8 spectrum");
    vxFrequencyBuffer spectrum(16, 8);
    spectrum.putReal(3, 3, std::nan(""), false);
    vxFrequencyFilterImage notFinite(spectrum);
    EXPECT_EQ(refusal(archiveOf(&notFinite)), "the filter's gains are not finite");
    vxPelBuffer<double> image;
    vfInverseFFT<double>(spectrum, image, false, true);
    vxFrequencyFilterImage consumed(spectrum);
    EXPECT_EQ(refusal(archiveOf(&consumed)), "Cannot access frequency data once inverse has been computed.");
}

// A class of the archive's registry that the tools do not know.
class ForeignFilter : public vxFrequencyFilter {
public:
    [[nodiscard]] vxFrequencyFilter* clone() const override { return new ForeignFilter(*this); }
    void apply(const vxFrequencyBuffer& in, vxFrequencyBuffer& out) const override { out = in; }
    void apply(vxFrequencyBuffer&) const override {}
    static vxPersistent* make() { return new ForeignFilter; }
};

TEST(ReadFilter, RefusesFiltersOfUnknownKinds) {
    const vx_Instantiator registered(typeid(ForeignFilter), ForeignFilter::make);
    ForeignFilter foreign;
    EXPECT_EQ(refusal(archiveOf(&foreign)), "it is a filter of an unknown kind");
}

} // namespace
