/// \file
/// The rows of filt/freqfilt.
#include "tests/fault/operands.h"

#include <numeric>

namespace fault {
namespace {

using support::Parameters;

/// Where the four filters with a table differ in their declarations.
struct Texts {
    std::string name;
    std::string radius;
    bool isLobe;

    [[nodiscard]] std::string member(const std::string& declaration) const {
        return name + "::" + declaration;
    }
    /// The parameters of set and of the constructor.
    [[nodiscard]] std::string parameters() const {
        return (isLobe ? "(const vxPair<double>& sigma, const vxPair<double>& plateau, vxRadian angle, "
                         "double frequency"
                       : "(double sigma, double plateau, double frequency") +
               (", const vxPair<long>& size, long " + radius + ")");
    }
    [[nodiscard]] std::string width(const std::string& setter) const {
        return member(setter + (isLobe ? "(const vxPair<double>& value)" : "(double value)"));
    }
};

/// A filter for 8 x 8 spectra.
template <class Case>
support::Opened<Case> built(long radius = 1) {
    return support::Opened<Case>(Parameters{.width = 8, .height = 8, .radius = radius});
}

/// What a filter may be before it is changed.
template <class Case>
std::vector<Named<support::Opened<Case>>> filterStates() {
    using Filter = support::Opened<Case>;
    return {{"not built", [] { return Filter(); }},
            {"built", [] { return built<Case>(); }},
            {"built larger", [] { return Filter(Parameters{.sigma = 0.2, .width = 16, .height = 4}); }}};
}

template <class Case>
std::vector<Row> changeRows(const Texts& texts) {
    using Filter = support::Opened<Case>;
    std::vector<Row> rows;
    for (const auto& from : filterStates<Case>()) {
        const auto one = [from] { return std::tuple(from.make()); };
        rows.push_back(strong({texts.member("set" + texts.parameters())}, from.name, one, [](Filter& filter) {
            filter.set(Parameters{.sigma = 0.1, .width = 32, .height = 32});
        }));
        rows.push_back(strong(
            {texts.member("operator=(const " + texts.name + "& other)")}, "to " + from.name,
            [from] { return std::tuple(from.make(), built<Case>()); },
            [](Filter& filter, const Filter& other) { filter = other; }));
        append(rows,
               archiveRowsOf({texts.member("dispatchSerialize(vxArchive& archive)"),
                              texts.member("serialize_(vxArchive& archive, unsigned char version)"),
                              "vxFrequencyFilter::dispatchSerialize(vxArchive& archive)",
                              "vxFrequencyFilter::serialize_(vxArchive& archive, unsigned char version)"},
                             from.name, from.make, [] { return built<Case>(2); }));
    }
    const auto setter = [&rows](const std::string& operation, auto set) {
        rows.push_back(strong(
            {operation}, "another value", [] { return std::tuple(built<Case>()); }, set));
    };
    setter(texts.width("sigma"), [](Filter& filter) { filter.setSigma(0.11); });
    setter(texts.width("plateau"), [](Filter& filter) { filter.setPlateau(0.3); });
    setter(texts.member("size(const vxPair<long>& value)"), [](Filter& filter) { filter.size({32, 32}); });
    rows.push_back(cannotFail(
        {texts.width("sigma"), texts.width("plateau"), texts.member("frequency(double value)"),
         texts.member("size(const vxPair<long>& value)"), texts.member(texts.radius + "(long value)")},
        "a table of the same size", [] { return std::tuple(built<Case>()); },
        [](Filter& filter) {
            filter.sigma(filter.sigma());
            filter.plateau(filter.plateau());
            filter.size(filter.size());
            filter.frequency(0.3);
            filter.setRadius(2);
        }));
    rows.push_back(strong(
        {texts.member("set" + texts.parameters())}, "refused", [] { return std::tuple(built<Case>()); },
        [](Filter& filter) {
            refused<vxFrequencyDefs::InvalidArgument>([&] { filter.set(Parameters{.frequency = 0.6}); });
        }));
    return rows;
}

template <class Case>
std::vector<Row> makingRows(const Texts& texts) {
    using Filter = support::Opened<Case>;
    using Base = typename Case::Filter;
    const std::string copy = texts.member(texts.name + "(const " + texts.name + "& other)");
    const std::string destructor = texts.member("~" + texts.name + "()");
    std::vector<Row> rows = {
        cannotFail({texts.member(texts.name + "()"), destructor, "vxFrequencyFilter::vxFrequencyFilter()",
                    "vxFrequencyFilter::~vxFrequencyFilter()"},
                   [] { const Base filter; }),
        strong(
            {texts.member(texts.name + texts.parameters()), destructor}, "",
            [] { return std::tuple(std::optional<Filter>()); },
            [](std::optional<Filter>& made) { made.emplace(Filter::constructed(Parameters())); }),
    };
    for (const auto& from : filterStates<Case>()) {
        const bool isBuilt = from.name != "not built";
        rows.push_back(row(
            isBuilt ? Guarantee::strong : Guarantee::cannotFail,
            {copy, "vxFrequencyFilter::vxFrequencyFilter(const vxFrequencyFilter&)"}, from.name, {},
            [from] { return std::tuple(from.make(), std::optional<Base>()); },
            [](const Base& filter, std::optional<Base>& made) { made.emplace(filter); }));
        rows.push_back(strong(
            {texts.member("clone() const"), "vxFrequencyFilter::clone() const"}, from.name,
            [from] { return std::tuple(from.make(), std::unique_ptr<vxFrequencyFilter>()); },
            [](const Base& filter, auto& made) { made.reset(filter.clone()); }));
    }
    return rows;
}

template <class Case>
std::vector<Row> applyRows(const Texts& texts) {
    using Filter = support::Opened<Case>;
    const std::string two = "apply(const vxFrequencyBuffer& in, vxFrequencyBuffer& out) const";
    const std::string one = "apply(vxFrequencyBuffer& buffer) const";
    // What there is to prepare before anything changes: the ring's tables, the samples that a reject filter
    // keeps.
    const auto preparing = [](long radius) {
        const bool prepares = !Case::isLobe || (Case::reject && radius > 0);
        return prepares ? Guarantee::strong : Guarantee::cannotFail;
    };
    std::vector<Row> rows;
    for (const long radius : {0L, 2L}) {
        const std::string suffix = radius == 0 ? "" : ", DC apart";
        for (const auto& to : destinations()) {
            // Only giving the result another size can fail once it changes.
            const bool isSized = to.name == "8 x 8";
            const std::vector<std::size_t> results(isSized ? 0 : 1, 2);
            rows.push_back(row(
                isSized ? preparing(radius) : Guarantee::sized,
                {texts.member(two), "vxFrequencyFilter::" + two}, "into " + to.name + suffix, results,
                [radius, to] {
                    return std::tuple(built<Case>(radius), spectrum(8, 8, {1, 2}), to.make());
                },
                [](const Filter& filter, const vxFrequencyBuffer& in, vxFrequencyBuffer& out) {
                    filter.apply(in, out);
                }));
        }
        rows.push_back(row(
            preparing(radius), {texts.member(one), "vxFrequencyFilter::" + one}, "in place" + suffix, {},
            [radius] { return std::tuple(built<Case>(radius), maskedSpectrum(8, 8)); },
            [](const Filter& filter, vxFrequencyBuffer& buffer) { filter.apply(buffer); }));
    }
    rows.push_back(row(
        preparing(2), {texts.member(two)}, "into itself", {},
        [] { return std::tuple(built<Case>(2), maskedSpectrum(8, 8)); },
        [](const Filter& filter, vxFrequencyBuffer& buffer) { filter.apply(buffer, buffer); }));
    rows.push_back(strong(
        {texts.member(two)}, "refused",
        [] { return std::tuple(built<Case>(), spectrum(4, 8), spectrum(8, 8)); },
        [](const Filter& filter, const vxFrequencyBuffer& in, vxFrequencyBuffer& out) {
            refused<vxFrequencyDefs::InvalidSize>([&] { filter.apply(in, out); });
        }));
    return rows;
}

template <class Case>
std::vector<Row> readingRows(const Texts& texts) {
    using Filter = support::Opened<Case>;
    std::vector<std::string> operations = {"vxFrequencyFilter::isInitialized()"};
    for (const char* reader : {"data", "frequency", "plateau", "sigma", "size", "supportWidth"}) {
        operations.push_back(texts.member(std::string(reader) + "() const"));
    }
    operations.push_back(texts.member(texts.radius + "() const"));
    operations.push_back(texts.member("operator==(const " + texts.name + "& other) const"));
    operations.push_back(texts.member("operator!=(const " + texts.name + "& other) const"));
    if (texts.isLobe) {
        operations.push_back(texts.member("angle() const"));
        operations.push_back(texts.member("supportHeight() const"));
    }
    const auto read = [](Filter& filter, const Filter& same, double& sum, bool& equal) {
        equal = filter == same && !(filter != same) && filter.isInitialized();
        sum = static_cast<double>(filter.data()[0]) + filter.frequency();
        sum += static_cast<double>(filter.size().x() + filter.supportWidth() + filter.radius());
        if constexpr (Case::isLobe) {
            sum += filter.sigma().x() + filter.plateau().y() + filter.angle().toDouble();
            sum += static_cast<double>(filter.supportHeight());
        } else {
            sum += filter.sigma() + filter.plateau();
        }
    };
    const auto make = [] { return std::tuple(built<Case>(), built<Case>(), 0.0, false); };
    std::vector<Row> rows = {cannotFail(operations, "built", make, read)};
    if constexpr (Case::isLobe) {
        rows.push_back(cannotFail(
            {texts.member("angle(vxRadian value)")}, "a table of the same size",
            [] { return std::tuple(built<Case>()); }, [](Filter& filter) { filter.angle(vxRadian(1.5)); }));
    }
    return rows;
}

template <class Case>
std::vector<Row> tableFilterRows(const std::string& radius) {
    const Texts texts{Case::typeName, radius, Case::isLobe};
    std::vector<Row> rows = changeRows<Case>(texts);
    append(rows, makingRows<Case>(texts));
    append(rows, applyRows<Case>(texts));
    append(rows, readingRows<Case>(texts));
    return rows;
}

/// The image filter with its protected parts in reach.
struct ImageFilter : vxFrequencyFilterImage {
    using vxFrequencyFilterImage::dispatchSerialize;
    using vxFrequencyFilterImage::vxFrequencyFilterImage;
};

std::vector<Row> imageFilterRows() {
    using Filter = vxFrequencyFilterImage;
    const std::string name = "vxFrequencyFilterImage::";
    const std::string two = "apply(const vxFrequencyBuffer& in, vxFrequencyBuffer& out) const";
    const auto full = [] { return Filter(spectrum(8, 8, {3, 4})); };
    std::vector<Row> rows = {
        cannotFail({name + "vxFrequencyFilterImage()", name + "~vxFrequencyFilterImage()"},
                   [] { const Filter filter; }),
        strong(
            {name + "vxFrequencyFilterImage(const vxFrequencyBuffer& image)",
             name + "~vxFrequencyFilterImage()"},
            "", [] { return std::tuple(spectrum(5, 3), std::optional<Filter>()); },
            [](const vxFrequencyBuffer& image, auto& made) { made.emplace(image); }),
        strong(
            {name + "vxFrequencyFilterImage(const vxFrequencyFilterImage& other)"}, "built",
            [=] { return std::tuple(full(), std::optional<Filter>()); },
            [](const Filter& other, auto& made) { made.emplace(other); }),
        strong(
            {name + "clone() const"}, "built",
            [=] { return std::tuple(full(), std::unique_ptr<vxFrequencyFilter>()); },
            [](const Filter& filter, auto& made) { made.reset(filter.clone()); }),
        strong(
            {name + "setImage(const vxFrequencyBuffer& image)"}, "another size",
            [=] { return std::tuple(full(), spectrum(4, 8)); },
            [](Filter& filter, const vxFrequencyBuffer& image) { filter.setImage(image); }),
        strong(
            {name + "setImage(const vxFrequencyBuffer& image)"}, "not built",
            [=] { return std::tuple(Filter(), spectrum(4, 8)); },
            [](Filter& filter, const vxFrequencyBuffer& image) { filter.setImage(image); }),
        cannotFail(
            {name + "setImage(const vxFrequencyBuffer& image)"}, "the same size",
            [=] { return std::tuple(full(), spectrum(8, 8)); },
            [](Filter& filter, const vxFrequencyBuffer& image) { filter.setImage(image); }),
        strong(
            {name + "operator=(const vxFrequencyFilterImage& other)"}, "another size",
            [=] { return std::tuple(Filter(spectrum(2, 16)), full()); },
            [](Filter& filter, const Filter& other) { filter = other; }),
        cannotFail(
            {name + "operator=(const vxFrequencyFilterImage& other)",
             "vxFrequencyFilter::operator=(const vxFrequencyFilter&)"},
            "to one that is not built", [=] { return std::tuple(full(), Filter()); },
            [](Filter& filter, const Filter& other) { filter = other; }),
        cannotFail(
            {name + "apply(vxFrequencyBuffer& buffer) const",
             name + "operator==(const vxFrequencyFilterImage& other) const",
             name + "operator!=(const vxFrequencyFilterImage& other) const", name + "supportWidth() const",
             name + "supportHeight() const"},
            "built", [=] { return std::tuple(full(), full(), maskedSpectrum(8, 8), 0L); },
            [](const Filter& filter, const Filter& same, vxFrequencyBuffer& buffer, long& sum) {
                filter.apply(buffer);
                sum = filter.supportWidth() + filter.supportHeight() + (filter == same ? 1 : 0) +
                      (filter != same ? 2 : 0);
            }),
        cannotFail(
            {name + two}, "into 8 x 8",
            [=] { return std::tuple(full(), spectrum(8, 8), consumedSpectrum(8, 8)); },
            [](const Filter& filter, const vxFrequencyBuffer& in, vxFrequencyBuffer& out) {
                filter.apply(in, out);
            }),
    };
    for (const auto& to : destinations()) {
        if (to.name == "8 x 8") {
            continue;
        }
        rows.push_back(sized(
            {name + two}, "into " + to.name, {2},
            [=] { return std::tuple(full(), spectrum(8, 8), to.make()); },
            [](const Filter& filter, const vxFrequencyBuffer& in, vxFrequencyBuffer& out) {
                filter.apply(in, out);
            }));
    }
    append(rows, archiveRowsOf({name + "dispatchSerialize(vxArchive& archive)",
                                name + "serialize_(vxArchive& archive, unsigned char version)"},
                               "built", full, [] { return Filter(spectrum(2, 16)); }));
    return rows;
}

/// What the base lends to the filters.
struct Lent : vxFrequencyFilter {
    using vxFrequencyFilter::getFrequencyBufferData;
    using vxFrequencyFilter::maskFrequencyBuffer;
    using vxFrequencyFilter::setAndAllocateFrequencyBuffer;
};

std::vector<Row> lentRows() {
    std::vector<Row> rows = {cannotFail(
        {"vxFrequencyFilter::getFrequencyBufferData(const vxFrequencyBuffer& buffer)",
         "vxFrequencyFilter::getFrequencyBufferData(vxFrequencyBuffer& buffer)",
         "vxFrequencyFilter::maskFrequencyBuffer(vxFrequencyBuffer& buffer, bool masked, long miny, long "
         "maxy)"},
        "", [] { return std::tuple(spectrum(8, 8), false); },
        [](vxFrequencyBuffer& buffer, bool& same) {
            Lent::maskFrequencyBuffer(buffer, true, 1, 2);
            same =
                Lent::getFrequencyBufferData(buffer) == Lent::getFrequencyBufferData(std::as_const(buffer));
        })};
    for (const auto& from : destinations()) {
        const bool keeps = from.name == "8 x 8";
        rows.push_back(row(
            keeps ? Guarantee::cannotFail : Guarantee::sized,
            {"vxFrequencyFilter::setAndAllocateFrequencyBuffer(vxFrequencyBuffer& buffer, long width, long "
             "height)"},
            from.name, {0}, [from] { return std::tuple(from.make()); },
            [](vxFrequencyBuffer& buffer) { Lent::setAndAllocateFrequencyBuffer(buffer, 7, 5); }));
    }
    return rows;
}

std::vector<Row> gainTableRows() {
    const std::string name = "vx_GainTable::";
    const std::string make = name + "vx_GainTable(const float* gains, std::size_t count)";
    const auto gains = [] { return std::vector<float>{1.0F, 2.0F, 3.0F}; };
    const auto built = [=] { return vx_GainTable(gains().data(), 3); };
    return {
        strong(
            {make, name + "~vx_GainTable()"}, "",
            [=] { return std::tuple(gains(), std::optional<vx_GainTable>()); },
            [](const std::vector<float>& values, auto& made) { made.emplace(values.data(), values.size()); }),
        strong(
            {name + "resize(std::size_t entries, std::size_t spare = alignmentSpare)"}, "another size",
            [=] { return std::tuple(built()); },
            [](vx_GainTable& table) {
                table.resize(50);
                std::fill(table.begin(), table.end(), 1.0F);
            }),
        cannotFail(
            {name + "vx_GainTable()", name + "vx_GainTable(vx_GainTable&& other)",
             name + "operator=(vx_GainTable&& other)", name + "drop()", name + "data()",
             name + "data() const", name + "size() const", name + "begin()", name + "begin() const",
             name + "end()", name + "end() const", name + "isBuilt() const", name + "~vx_GainTable()",
             name + "resize(std::size_t entries, std::size_t spare = alignmentSpare)"},
            "built", [=] { return std::tuple(built(), built(), 0.0F); },
            [](vx_GainTable& table, vx_GainTable& dropped, float& sum) {
                vx_GainTable empty;
                empty = std::move(table);
                table = vx_GainTable(std::move(empty));
                table.resize(3);
                sum = std::accumulate(table.begin(), table.end(), *table.data());
                const vx_GainTable& fixed = table;
                sum += std::accumulate(fixed.begin(), fixed.end(), fixed.data()[fixed.size() - 1]);
                dropped.drop();
            }),
    };
}

} // namespace

std::vector<Row> filterRows() {
    std::vector<Row> rows = tableFilterRows<support::BandPassCase>("dcRemovalRadius");
    append(rows, tableFilterRows<support::BandRejectCase>("dcProtectionRadius"));
    append(rows, tableFilterRows<support::GaborCase>("dcRemovalRadius"));
    append(rows, tableFilterRows<support::GaborRejectCase>("dcProtectionRadius"));
    append(rows, imageFilterRows());
    append(rows, lentRows());
    append(rows, gainTableRows());
    return rows;
}

} // namespace fault
