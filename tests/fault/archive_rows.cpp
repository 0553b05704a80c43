/// \file
/// The rows of the archive, the exceptions and the persistent objects.
#include "kavstd/archive.h"
#include "kavstd/exception.h"
#include "tests/fault/operands.h"
#include "tests/support/archive_samples.h"

#include <sstream>

namespace fault {
namespace {

using archive_test::Group;
using archive_test::Node;

constexpr const char* longText = "a text that is longer than what a string keeps within itself";

/// A node without what a copy would share.
std::unique_ptr<Node> small() {
    auto node = std::make_unique<Node>();
    archive_test::fill(*node, 8);
    return node;
}

std::vector<Row> valueRows() {
    const auto text = [](const std::string& type) {
        return std::vector<std::string>{"operator||(vxArchive& archive, " + type + "& value)"};
    };
    std::vector<Row> rows;
    const auto add = [&](const std::string& type, auto value, auto before) {
        append(rows, archiveRowsOf(
                         text(type), "", [value] { return value; }, [before] { return before; }));
    };
    add("bool", true, false);
    add("unsigned char", static_cast<unsigned char>(200), static_cast<unsigned char>(1));
    add("long", -3L, 4L);
    add("unsigned long", 3UL, 4UL);
    add("float", 1.5F, 2.5F);
    add("double", 1.5, 2.5);
    add("vxPair<long>", vxPair<long>(1, -2), vxPair<long>(3, 4));
    add("vxPair<double>", vxPair<double>(1.5, -2.5), vxPair<double>(3.5, 4.5));
    add("std::vector<float>", std::vector<float>{1.0F, -0.0F, 3.0F}, std::vector<float>{9.0F});
    add("std::vector<float>", std::vector<float>(3000, 2.0F), std::vector<float>());
    rows.push_back(strong(
        {"vf_StoreFloats(vxArchive& archive, const float* values, std::size_t count)"}, "",
        [] { return std::tuple(std::vector<float>(3000, 1.0F), Sink()); },
        [](const std::vector<float>& values, Sink& sink) {
            SinkStream stream(sink);
            vxOutputArchive archive(stream);
            vf_StoreFloats(archive, values.data(), values.size());
        }));
    rows.push_back(strong(
        {"vf_LoadFloatCount(vxArchive& archive)",
         "vf_LoadFloatChunk(vxArchive& archive, float* values, std::size_t count)",
         "vf_LoadFloats(vxArchive& archive, std::size_t count, std::size_t believed, Floats& values)"},
        "",
        [] {
            std::vector<float> values(5000, 2.0F);
            return std::tuple(std::vector<float>(), archive_test::stored(values));
        },
        [](std::vector<float>& values, const std::string& from) {
            ByteStream stream(from);
            vxInputArchive archive(stream);
            std::vector<float> loaded;
            vf_LoadFloats(archive, vf_LoadFloatCount(archive), 100, loaded);
            values = std::move(loaded);
        }));
    return rows;
}

/// Objects in place and by pointer, and what every persistent class has.
std::vector<Row> objectRows() {
    const std::vector<std::string> inPlaceOperations = {
        "operator||(vxArchive& archive, vxPersistent& object)",
        "vxPersistent::dispatchSerialize(vxArchive& archive)",
        "vxPersistent::haveVisited(vxArchive& archive, const void* part, std::size_t size)",
        "vxPersistent::setVisited(vxArchive& archive, const void* part, std::size_t size)",
        "vxArchive::onRollback(std::function<void()> undo)",
        "vxPersistent::reInit()",
        "vxPersistent::mutating()",
    };
    const std::string byPointer = "operator||(vxArchive& archive, vxPersistent*& object)";
    const auto onto = [] { return std::tuple(small(), archive_test::stored(*archive_test::sampleNode())); };
    const auto loads = [](Node& node, const std::string& from) {
        ByteStream stream(from);
        vxInputArchive archive(stream);
        archive || node;
    };
    return {
        strong(
            inPlaceOperations, "store", [] { return std::tuple(archive_test::sampleNode(), Sink()); },
            [](auto& node, Sink& sink) { store(*node, sink); }),
        strong(inPlaceOperations, "load", onto,
               [=](auto& node, const std::string& from) { loads(*node, from); }),
        strong({"vxPersistent::loadSimple(vxArchive& archive)"}, "", onto,
               [](auto& node, const std::string& from) {
                   ByteStream stream(from);
                   vxInputArchive archive(stream);
                   node->loadSimple(archive);
               }),
        strong(
            {byPointer}, "store", [] { return std::tuple(archive_test::sampleNode(), Sink()); },
            [](auto& node, Sink& sink) {
                vxPersistent* object = node.get();
                store(object, sink);
            }),
        strong(
            {byPointer}, "load",
            [] {
                const std::unique_ptr<Node> node = archive_test::sampleNode();
                vxPersistent* object = node.get();
                return std::tuple(std::unique_ptr<vxPersistent>(), archive_test::stored(object));
            },
            [](auto& loaded, const std::string& from) {
                vxPersistent* object = nullptr;
                load(object, from);
                loaded.reset(object);
            }),
        strong(
            {byPointer}, "store null", [] { return std::tuple(Sink()); },
            [](Sink& sink) {
                vxPersistent* object = nullptr;
                store(object, sink);
            }),
    };
}

/// Two objects in one object: the second one's failure takes the first one back.
std::vector<Row> groupRows() {
    const std::string onRollback = "vxArchive::onRollback(std::function<void()> undo)";
    const auto loads = [](Node& first, Node& second, const std::string& from) {
        Group group([&](vxArchive& archive) { archive || first || second; });
        ByteStream stream(from);
        vxInputArchive archive(stream);
        archive || static_cast<vxPersistent&>(group);
    };
    return {strong(
        {onRollback}, "two objects in place",
        [] {
            const std::unique_ptr<Node> one = archive_test::sampleNode();
            const std::unique_ptr<Node> other = small();
            return std::tuple(small(), small(), archive_test::stored(*one, *other));
        },
        [=](auto& first, auto& second, const std::string& from) { loads(*first, *second, from); })};
}

std::vector<Row> archiveObjectRows() {
    const std::string archive = "vxArchive::";
    const auto testArchive = [](bool loading) {
        return [loading](long& value, bool& isLoading) {
            TestArchive made(loading);
            if (!loading) {
                made.header(); // What this archive loads is none.
            }
            long staged = value;
            made || staged;
            value = staged;
            isLoading = made.isLoading();
        };
    };
    const auto operands = [] { return std::tuple(7L, false); };
    return {
        strong({archive + "vxArchive(bool loading)", archive + "~vxArchive()", archive + "isLoading() const",
                archive + "header()", archive + "transfer(void* bytes, std::size_t size)"},
               "a user's own, storing", operands, testArchive(false)),
        strong({archive + "vxArchive(bool loading)", archive + "transfer(void* bytes, std::size_t size)"},
               "a user's own, loading", operands, testArchive(true)),
        strong({archive + "refuse(const char* what)"}, "", operands,
               [](long& /*kept*/, bool& isRefused) {
                   TestArchive made(false);
                   try {
                       made.refuse(longText);
                   } catch (const vxArchive::Malformed&) {
                       isRefused = true;
                   }
               }),
        strong(
            {"vxOutputArchive::vxOutputArchive(std::ostream& stream)", "vxOutputArchive::flush()",
             "vxOutputArchive::~vxOutputArchive()"},
            "", [] { return std::tuple(Sink()); },
            [](Sink& sink) {
                SinkStream stream(sink);
                vxOutputArchive made(stream);
                made.flush();
            }),
        strong(
            {"vxInputArchive::vxInputArchive(std::istream& stream)", "vxInputArchive::~vxInputArchive()"}, "",
            [] { return std::tuple(archive_test::header); },
            [](const std::string& bytes) {
                ByteStream stream(bytes);
                vxInputArchive made(stream);
            }),
    };
}

/// An exception of a user's own, with its protected parts in reach.
class Plain : public vxException {
public:
    Plain() = default;
    [[nodiscard]] long errorNumber() const override { return 5; }
    void suicideAndRethrow() override {
        const Plain copy(*this);
        delete this;
        throw copy;
    }
    using vxException::rendered;
};

class Told : public vx_ConcreteError<Told, 6> {
public:
    using vx_ConcreteError::vx_ConcreteError;
};

std::vector<Row> exceptionRows() {
    const std::string plain = "vxException::";
    const std::string with = "vxExceptionWithString::";
    const std::string concrete = "vx_ConcreteError::";
    const auto told = [] { return std::tuple(Told(longText), std::string()); };
    std::vector<Row> rows = {
        cannotFail(
            {plain + "vxException()", plain + "vxException(const vxException&)",
             plain + "operator=(const vxException&)", plain + "errorNumber() const",
             plain + "~vxException()"},
            "", [] { return std::tuple(Plain(), 0L); },
            [](Plain& error, long& number) {
                const Plain copy(error);
                error = copy;
                number = error.errorNumber();
            }),
        cannotFail(
            {plain + "suicideAndRethrow()", concrete + "suicideAndRethrow()"}, "",
            [] { return std::tuple(std::make_unique<Told>(longText), std::optional<Told>()); },
            [](std::unique_ptr<Told>& error, std::optional<Told>& caught) {
                try {
                    error.release()->suicideAndRethrow();
                } catch (const Told& copy) {
                    caught.emplace(copy);
                }
            }),
        strong(
            {concrete + "make()"}, "", [] { return std::tuple(std::unique_ptr<vxPersistent>()); },
            [](auto& made) { made.reset(Told::make()); }),
        strong(
            {with + "vxExceptionWithString(const char* message = nullptr)"}, "",
            [] { return std::tuple(std::optional<Told>()); },
            [](std::optional<Told>& made) { made.emplace(longText); }),
        cannotFail({with + "vxExceptionWithString(const char* message = nullptr)",
                    with + "vxExceptionWithString(const vxExceptionWithString&)",
                    with + "operator=(const vxExceptionWithString&)", with + "~vxExceptionWithString()",
                    concrete + "errorNumber() const"},
                   "empty or a copy", told,
                   [](Told& error, std::string& /*none*/) {
                       const Told empty("");
                       Told copy(error);
                       copy = empty;
                       error = copy.errorNumber() == error.errorNumber() ? copy : error;
                   }),
        row(Guarantee::absorbs,
            {with + "what() const", plain + "what() const", plain + "rendered(const char* fallback) const"},
            "", {}, told, [](const Told& error, auto& /*none*/) { static_cast<void>(error.what()); }),
        row(
            Guarantee::absorbs, {plain + "what() const", plain + "rendered(const char* fallback) const"},
            "a plain one", {}, [] { return std::tuple(Plain()); },
            [](const Plain& error) { static_cast<void>(error.rendered("")); }),
        row(
            Guarantee::absorbs,
            {with + "message_(std::ostream& stream) const", plain + "message_(std::ostream& stream) const"},
            "a stream that fails", {}, [] { return std::tuple(Told(longText), Sink()); },
            [](const Told& error, Sink& sink) {
                SinkStream stream(sink);
                error.message_(stream);
            }),
    };
    append(rows, archiveRowsOf(
                     {with + "dispatchSerialize(vxArchive& archive)",
                      plain + "dispatchSerialize(vxArchive& archive)"},
                     "", [] { return Told(longText); }, [] { return Told("another"); }));
    append(rows, archiveRowsOf(
                     {plain + "dispatchSerialize(vxArchive& archive)"}, "a plain one", [] { return Plain(); },
                     [] { return Plain(); }));
    return rows;
}

std::vector<Row> versionErrorRows() {
    using Error = vxArchive::UnknownVersion;
    const std::string name = "vxArchive::UnknownVersion::";
    std::vector<Row> rows = {
        strong(
            {name + "UnknownVersion(const char* file = nullptr, long line = 0)", name + "~UnknownVersion()"},
            "", [] { return std::tuple(std::optional<Error>()); },
            [](std::optional<Error>& made) { made.emplace(longText, 3); }),
        cannotFail(
            {name + "file() const", name + "line() const"}, "",
            [] { return std::tuple(Error(longText, 3), 0L); },
            [](const Error& error, long& sum) { sum = error.line() + error.file()[0]; }),
    };
    append(rows, archiveRowsOf(
                     {name + "dispatchSerialize(vxArchive& archive)"}, "", [] { return Error(longText, 3); },
                     [] { return Error("another", 4); }));
    return rows;
}

/// The destructors of the errors, whose other members are those of vx_ConcreteError.
template <class Error>
Row errorRow(const std::string& name, const std::string& className) {
    return cannotFail(
        {name + "::~" + className + "()"}, "", [] { return std::tuple(std::optional<Error>(longText)); },
        [](std::optional<Error>& error) { error.reset(); });
}

struct Counted : vxRepBase {
    Counted() = default;
};

std::vector<Row> baseRows() {
    const std::string persistent = "vxPersistent::";
    const std::string counted = "vxRepBase::";
    const std::string instantiator = "vx_Instantiator::";
    return {
        cannotFail({persistent + "vxPersistent()", persistent + "vxPersistent(const vxPersistent&)",
                    persistent + "operator=(const vxPersistent&)", persistent + "~vxPersistent()",
                    persistent + "reInit()"},
                   [] {
                       vx2XformLinear object;
                       vx2XformLinear copy(object);
                       copy = object;
                       copy.reInit();
                   }),
        cannotFail(
            {counted + "vxRepBase()", counted + "vxRepBase(const vxRepBase&)",
             counted + "operator=(const vxRepBase&)", counted + "addReference() const",
             counted + "removeReference() const", counted + "referenceCount() const",
             counted + "~vxRepBase()"},
            "", [] { return std::tuple(0L); },
            [](long& count) {
                const Counted object;
                Counted copy(object);
                copy = object;
                copy.addReference();
                copy.addReference();
                copy.removeReference();
                count = copy.referenceCount();
            }),
        strong(
            {counted + "removeReference() const"}, "the last one", [] { return std::tuple(); },
            [] {
                const auto* object = new Counted;
                object->addReference();
                object->removeReference();
            }),
        strong(
            {instantiator + "vx_Instantiator(const std::type_info& type, vxPersistent* (*make)())",
             instantiator + "~vx_Instantiator()"},
            "", [] { return std::tuple(); }, [] { const vx_Instantiator entered(typeid(Told), Told::make); }),
    };
}

} // namespace

std::vector<Row> archiveRows() {
    std::vector<Row> rows = valueRows();
    append(rows, objectRows());
    append(rows, groupRows());
    append(rows, archiveObjectRows());
    append(rows, exceptionRows());
    append(rows, versionErrorRows());
    append(rows, {errorRow<vxArchive::EndOfData>("vxArchive::EndOfData", "EndOfData"),
                  errorRow<vxArchive::Malformed>("vxArchive::Malformed", "Malformed"),
                  errorRow<vxArchive::UnknownType>("vxArchive::UnknownType", "UnknownType"),
                  errorRow<vxArchive::WriteFailed>("vxArchive::WriteFailed", "WriteFailed"),
                  errorRow<vx_PelBuffer::BadGeometry>("vx_PelBuffer::BadGeometry", "BadGeometry"),
                  errorRow<vx2Xform::Singular>("vx2Xform::Singular", "Singular"),
                  errorRow<vx2Xform::NotLinear>("vx2Xform::NotLinear", "NotLinear")});
    append(rows, baseRows());
    return rows;
}

} // namespace fault
