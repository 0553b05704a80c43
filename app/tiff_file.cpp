// libtiff calls back into this file for its bytes and its errors. The callbacks never throw.
#include "app/tiff_file.h"

#include "app/errors.h"
#include "kavstd/attention.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <istream>
#include <memory>
#include <tiffio.h>

namespace app {
namespace {

// What libtiff's callbacks reach: the file that is read or the bytes that are written, and the first error.
struct Session {
    std::istream* file = nullptr;
    std::vector<unsigned char>* bytes = nullptr;
    std::size_t position = 0;
    char reason[240] = "";
};

extern "C" {

// libtiff goes on after some errors; the first one says what is wrong.
[[gnu::format(printf, 4, 0)]] static int onTiffError(TIFF*, void* session, const char*, const char* format,
                                                     va_list arguments) {
    char(&reason)[240] = static_cast<Session*>(session)->reason;
    if (reason[0] == '\0') {
        std::vsnprintf(reason, sizeof reason, format, arguments);
    }
    return 1;
}

static int onTiffWarning(TIFF*, void*, const char*, const char*, va_list) {
    return 1;
}

static int onTiffClose(thandle_t) {
    return 0;
}

static tmsize_t onTiffRead(thandle_t handle, void* to, tmsize_t size) {
    std::istream& file = *static_cast<Session*>(handle)->file;
    file.read(static_cast<char*>(to), size);
    const tmsize_t got = static_cast<tmsize_t>(file.gcount());
    file.clear();
    return got;
}

// A file that is read is never written, and the other way round.
static tmsize_t onTiffNever(thandle_t, void*, tmsize_t) {
    return -1;
}

static toff_t onTiffSeek(thandle_t handle, toff_t offset, int whence) {
    std::istream& file = *static_cast<Session*>(handle)->file;
    const std::ios::seekdir from = whence == SEEK_SET   ? std::ios::beg
                                   : whence == SEEK_CUR ? std::ios::cur
                                                        : std::ios::end;
    file.clear();
    file.seekg(static_cast<std::streamoff>(offset), from);
    const std::streamoff position = file.good() ? std::streamoff(file.tellg()) : -1;
    file.clear();
    return static_cast<toff_t>(position);
}

static toff_t onTiffSize(thandle_t handle) {
    std::istream& file = *static_cast<Session*>(handle)->file;
    const std::streamoff position = file.tellg();
    file.seekg(0, std::ios::end);
    const std::streamoff size = file.tellg();
    file.clear();
    file.seekg(position, std::ios::beg);
    return static_cast<toff_t>(std::max<std::streamoff>(size, 0));
}

static tmsize_t onMemoryWrite(thandle_t handle, void* from, tmsize_t size) {
    Session& session = *static_cast<Session*>(handle);
    const std::size_t end = session.position + static_cast<std::size_t>(size);
    try {
        session.bytes->resize(std::max(session.bytes->size(), end));
    } catch (...) {
        return -1;
    }
    std::memcpy(session.bytes->data() + session.position, from, static_cast<std::size_t>(size));
    session.position = end;
    return size;
}

static toff_t onMemorySeek(thandle_t handle, toff_t offset, int whence) {
    Session& session = *static_cast<Session*>(handle);
    const std::size_t from = whence == SEEK_SET   ? 0
                             : whence == SEEK_CUR ? session.position
                                                  : session.bytes->size();
    session.position = from + static_cast<std::size_t>(offset);
    return session.position;
}

static toff_t onMemorySize(thandle_t handle) {
    return static_cast<Session*>(handle)->bytes->size();
}

} // extern "C"

struct Closer {
    void operator()(TIFF* tiff) const { TIFFClose(tiff); }
    void operator()(TIFFOpenOptions* options) const { TIFFOpenOptionsFree(options); }
};
using Handle = std::unique_ptr<TIFF, Closer>;

// Bounds what a hostile file can make libtiff allocate; the largest honest tile or strip stays below.
constexpr tmsize_t largestBlock = 256L * 1024 * 1024;

Handle open(Session& session, bool reading) {
    const std::unique_ptr<TIFFOpenOptions, Closer> options(TIFFOpenOptionsAlloc());
    if (!options) {
        throw std::bad_alloc();
    }
    TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), largestBlock);
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), onTiffError, &session);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), onTiffWarning, &session);
    if (reading) {
        return Handle(TIFFClientOpenExt("", "rm", &session, onTiffRead, onTiffNever, onTiffSeek, onTiffClose,
                                        onTiffSize, nullptr, nullptr, options.get()));
    }
    return Handle(TIFFClientOpenExt("", "wl", &session, onTiffNever, onMemoryWrite, onMemorySeek, onTiffClose,
                                    onMemorySize, nullptr, nullptr, options.get()));
}

// How the samples of a grey or RGB file lie in its rows.
struct Layout {
    std::uint16_t bits = 1;
    std::uint16_t format = SAMPLEFORMAT_UINT;
    std::uint16_t samples = 1;
    std::uint16_t photometric = PHOTOMETRIC_MINISBLACK;
    std::uint16_t planar = PLANARCONFIG_CONTIG;

    [[nodiscard]] bool isFloat() const { return format == SAMPLEFORMAT_IEEEFP; }
    [[nodiscard]] bool isColour() const { return photometric == PHOTOMETRIC_RGB; }
    [[nodiscard]] bool isSeparate() const { return planar == PLANARCONFIG_SEPARATE && samples > 1; }
    [[nodiscard]] std::uint16_t usedSamples() const { return isColour() ? 3 : 1; }
};

// Sample `index` of a row; 1, 2 and 4 bits are packed from the high bit down and scaled to 0 .. 255.
double sampleAt(const unsigned char* row, std::size_t index, const Layout& layout) {
    const auto as = [row, index](auto value) {
        std::memcpy(&value, row + index * sizeof value, sizeof value);
        return static_cast<double>(value);
    };
    if (layout.isFloat()) {
        return layout.bits == 32 ? as(float()) : as(double());
    }
    if (layout.bits == 16) {
        return as(std::uint16_t());
    }
    if (layout.bits == 8) {
        return row[index];
    }
    const std::size_t bit = index * layout.bits;
    const int mask = (1 << layout.bits) - 1;
    const int value = (row[bit / 8] >> (8 - layout.bits - bit % 8)) & mask;
    const int pel = value * (255 / mask); // Without a remainder.
    return pel;
}

class Reader {
public:
    explicit Reader(std::istream& file) {
        session_.file = &file;
        tiff_ = open(session_, true);
        if (!tiff_) {
            fail("damaged");
        }
    }

    Image read() {
        std::uint32_t width = 0;
        std::uint32_t height = 0;
        if (TIFFGetField(tiff_.get(), TIFFTAG_IMAGEWIDTH, &width) == 0 ||
            TIFFGetField(tiff_.get(), TIFFTAG_IMAGELENGTH, &height) == 0) {
            fail("it has no size");
        }
        image_.format = "TIFF";
        image_.pels = newPels(width, height);
        readLayout();
        addNotes();
        if (isDirect()) {
            image_.depth = directDepth();
            TIFFIsTiled(tiff_.get()) != 0 ? readTiles() : readRows();
            finishPels();
        } else {
            readConverted();
        }
        return std::move(image_);
    }

private:
    [[noreturn]] void fail(const std::string& reason) {
        throw UnreadableError("TIFF: " + (session_.reason[0] ? session_.reason : reason));
    }

    void readLayout() {
        TIFFGetFieldDefaulted(tiff_.get(), TIFFTAG_BITSPERSAMPLE, &layout_.bits);
        TIFFGetFieldDefaulted(tiff_.get(), TIFFTAG_SAMPLEFORMAT, &layout_.format);
        TIFFGetFieldDefaulted(tiff_.get(), TIFFTAG_SAMPLESPERPIXEL, &layout_.samples);
        TIFFGetFieldDefaulted(tiff_.get(), TIFFTAG_PLANARCONFIG, &layout_.planar);
        if (TIFFGetField(tiff_.get(), TIFFTAG_PHOTOMETRIC, &layout_.photometric) == 0) {
            layout_.photometric = layout_.samples >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
        }
        if (layout_.format == SAMPLEFORMAT_VOID) {
            layout_.format = SAMPLEFORMAT_UINT;
        }
        if (layout_.samples > 8) {
            fail(std::to_string(layout_.samples) + " samples per pel are not supported");
        }
        if (layout_.samples < layout_.usedSamples()) {
            fail("it has too few samples per pel");
        }
    }

    // Grey and RGB are read as they are; libtiff itself converts every other colour space.
    [[nodiscard]] bool isDirect() const {
        return layout_.photometric <= PHOTOMETRIC_RGB; // MINISWHITE, MINISBLACK, RGB
    }

    Depth directDepth() {
        const std::uint16_t bits = layout_.bits;
        if (layout_.isFloat() && (bits == 32 || bits == 64)) {
            return bits == 32 ? Depth::float32 : Depth::float64;
        }
        if (layout_.format == SAMPLEFORMAT_UINT && bits == 16) {
            return Depth::bits16;
        }
        if (layout_.format == SAMPLEFORMAT_UINT && (bits == 8 || bits == 4 || bits == 2 || bits == 1)) {
            return Depth::bits8;
        }
        const char* kind = layout_.isFloat()                     ? "floating-point"
                           : layout_.format == SAMPLEFORMAT_UINT ? "unsigned"
                           : layout_.format == SAMPLEFORMAT_INT  ? "signed"
                                                                 : "complex";
        fail(std::to_string(bits) + "-bit " + kind + " pels are not supported");
    }

    void addNotes() {
        std::vector<std::string>& notes = image_.notes;
        if (layout_.photometric > PHOTOMETRIC_MINISBLACK) {
            notes.emplace_back("colour is converted to luminance");
        }
        if (isDirect() && layout_.samples > layout_.usedSamples()) {
            notes.emplace_back("transparency and other extra samples are left out");
        }
        if (isDirect() && layout_.bits < 8) {
            notes.push_back(std::to_string(layout_.bits) + "-bit pels are scaled to 0 .. 255");
        }
        if (layout_.photometric == PHOTOMETRIC_MINISWHITE) {
            notes.emplace_back(layout_.isFloat()
                                   ? "pels are taken as stored, though the file says min-is-white"
                                   : "min-is-white pels are inverted");
        }
        std::uint16_t orientation = ORIENTATION_TOPLEFT;
        TIFFGetFieldDefaulted(tiff_.get(), TIFFTAG_ORIENTATION, &orientation);
        if (isDirect() && orientation != ORIENTATION_TOPLEFT) {
            notes.emplace_back("the file's orientation is left out: rows are taken as stored");
        }
        if (TIFFLastDirectory(tiff_.get()) == 0) {
            notes.emplace_back("only the first page is read");
        }
    }

    // Adds one plane's or the contiguous samples of part of a row to the pels.
    void addSamples(const unsigned char* row, long x0, long y, long count, int plane) {
        double* pels = image_.pels.pointToRow(y) + x0;
        const bool colour = layout_.isColour();
        const std::size_t step = layout_.isSeparate() ? 1 : layout_.samples;
        const int first = layout_.isSeparate() ? plane : 0;
        const int last = layout_.isSeparate() ? plane : layout_.usedSamples() - 1;
        for (long x = 0; x < count; ++x) {
            for (int s = first; s <= last; ++s) {
                const double sample = sampleAt(
                    row, static_cast<std::size_t>(x) * step + static_cast<std::size_t>(s - first), layout_);
                pels[x] += colour ? luminanceWeights[s] * sample : sample;
            }
        }
    }

    // Bytes that `count` pels of a row (of one plane, where planes are separate) need.
    [[nodiscard]] std::size_t bytesOf(long count) const {
        const std::size_t samples = layout_.isSeparate() ? 1 : layout_.samples;
        return (static_cast<std::size_t>(count) * samples * layout_.bits + 7) / 8;
    }

    std::vector<unsigned char> buffer(tmsize_t size, std::size_t needed) {
        if (size <= 0 || size > largestBlock || static_cast<std::size_t>(size) < needed) {
            fail("its blocks have no sensible size");
        }
        return std::vector<unsigned char>(static_cast<std::size_t>(size));
    }

    [[nodiscard]] std::uint16_t planes() const { return layout_.isSeparate() ? layout_.usedSamples() : 1; }

    void readRows() {
        const long width = image_.pels.width();
        std::vector<unsigned char> row = buffer(TIFFScanlineSize(tiff_.get()), bytesOf(width));
        for (std::uint16_t plane = 0; plane < planes(); ++plane) {
            for (long y = 0; y < image_.pels.height(); ++y) {
                vxAttention::check();
                if (TIFFReadScanline(tiff_.get(), row.data(), static_cast<std::uint32_t>(y), plane) != 1) {
                    fail("its pels are damaged");
                }
                addSamples(row.data(), 0, y, width, plane);
            }
        }
    }

    void readTiles() {
        std::uint32_t tileWidth = 0;
        std::uint32_t tileHeight = 0;
        TIFFGetField(tiff_.get(), TIFFTAG_TILEWIDTH, &tileWidth);
        TIFFGetField(tiff_.get(), TIFFTAG_TILELENGTH, &tileHeight);
        if (tileWidth == 0 || tileHeight == 0 || tileWidth > 2 * maximumSize ||
            tileHeight > 2 * maximumSize) {
            fail("its blocks have no sensible size");
        }
        const vxPair<long> step{static_cast<long>(tileWidth), static_cast<long>(tileHeight)};
        std::vector<unsigned char> tile = buffer(TIFFTileSize(tiff_.get()), bytesOf(step.x()) * tileHeight);
        for (std::uint16_t plane = 0; plane < planes(); ++plane) {
            for (long y = 0; y < image_.pels.height(); y += step.y()) {
                for (long x = 0; x < image_.pels.width(); x += step.x()) {
                    readTile(tile, {x, y}, step, plane);
                }
            }
        }
    }

    // Tiles reach over the right and lower border; what lies outside is padding.
    void readTile(std::vector<unsigned char>& tile, vxPair<long> at, vxPair<long> size, std::uint16_t plane) {
        vxAttention::check();
        if (TIFFReadTile(tiff_.get(), tile.data(), static_cast<std::uint32_t>(at.x()),
                         static_cast<std::uint32_t>(at.y()), 0, plane) < 0) {
            fail("its pels are damaged");
        }
        const long columns = std::min(size.x(), image_.pels.width() - at.x());
        const long rows = std::min(size.y(), image_.pels.height() - at.y());
        const unsigned char* row = tile.data();
        for (long y = 0; y < rows; ++y, row += bytesOf(size.x())) {
            addSamples(row, at.x(), at.y() + y, columns, plane);
        }
    }

    // Luminances become values of the depth again, so that a copy of the image holds the same pels;
    // min-is-white becomes min-is-black.
    void finishPels() {
        const double white = traits(image_.depth).maximum;
        const bool invert = layout_.photometric == PHOTOMETRIC_MINISWHITE;
        for (long y = 0; y < image_.pels.height(); ++y) {
            double* row = image_.pels.pointToRow(y);
            for (long x = 0; x < image_.pels.width(); ++x) {
                if (image_.depth == Depth::float32) {
                    row[x] = static_cast<double>(static_cast<float>(row[x]));
                } else if (!layout_.isFloat()) {
                    row[x] = invert ? white - row[x] : std::floor(row[x] + 0.5);
                }
            }
        }
    }

    // Palettes, YCbCr, CMYK and the like, as 8-bit colour by libtiff.
    void readConverted() {
        char reason[1024] = "";
        if (TIFFRGBAImageOK(tiff_.get(), reason) == 0) {
            fail(reason);
        }
        const long width = image_.pels.width();
        const long height = image_.pels.height();
        std::vector<std::uint32_t> colours(static_cast<std::size_t>(width) *
                                           static_cast<std::size_t>(height));
        if (TIFFReadRGBAImageOriented(tiff_.get(), static_cast<std::uint32_t>(width),
                                      static_cast<std::uint32_t>(height), colours.data(), ORIENTATION_TOPLEFT,
                                      1) == 0) {
            fail("its pels are damaged");
        }
        image_.depth = Depth::bits8;
        const std::uint32_t* colour = colours.data();
        for (long y = 0; y < height; ++y) {
            double* row = image_.pels.pointToRow(y);
            for (long x = 0; x < width; ++x, ++colour) {
                row[x] = std::floor(luminanceWeights[0] * TIFFGetR(*colour) +
                                    luminanceWeights[1] * TIFFGetG(*colour) +
                                    luminanceWeights[2] * TIFFGetB(*colour) + 0.5);
            }
        }
    }

    Session session_;
    Handle tiff_;
    Layout layout_;
    Image image_;
};

// The row as libtiff takes it: samples of the depth's type in the machine's byte order.
void packRow(const Image& image, long y, std::vector<unsigned char>& bytes) {
    const double* row = image.pels.pointToRow(y);
    unsigned char* to = bytes.data();
    const auto put = [&to](auto value) {
        std::memcpy(to, &value, sizeof value);
        to += sizeof value;
    };
    for (long x = 0; x < image.pels.width(); ++x) {
        switch (image.depth) {
        case Depth::bits8:
            put(static_cast<std::uint8_t>(quantize(row[x], image.depth)));
            break;
        case Depth::bits16:
            put(static_cast<std::uint16_t>(quantize(row[x], image.depth)));
            break;
        case Depth::float32:
            put(static_cast<float>(row[x]));
            break;
        case Depth::float64:
            put(row[x]);
            break;
        }
    }
}

std::uint16_t bitsOf(Depth depth) {
    static constexpr std::uint16_t table[] = {8, 16, 32, 64};
    return table[static_cast<int>(depth)];
}

} // namespace

Image readTiff(std::istream& file) {
    return Reader(file).read();
}

std::vector<unsigned char> encodeTiff(const Image& image) {
    std::vector<unsigned char> bytes;
    Session session;
    session.bytes = &bytes;
    const auto check = [&session](bool ok) {
        if (!ok) {
            throw WriteError(std::string("TIFF: ") + (session.reason[0] ? session.reason : "out of memory"));
        }
    };
    Handle handle = open(session, false);
    check(handle != nullptr);
    TIFF* tiff = handle.get();
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(image.pels.width()));
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(image.pels.height()));
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, bitsOf(image.depth));
    TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT,
                 traits(image.depth).isInteger ? SAMPLEFORMAT_UINT : SAMPLEFORMAT_IEEEFP);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(tiff, 0));
    std::vector<unsigned char> row(static_cast<std::size_t>(image.pels.width()) * bitsOf(image.depth) / 8);
    for (long y = 0; y < image.pels.height(); ++y) {
        vxAttention::check();
        packRow(image, y, row);
        check(TIFFWriteScanline(tiff, row.data(), static_cast<std::uint32_t>(y), 0) == 1);
    }
    check(TIFFFlush(tiff) == 1);
    handle.reset();
    return bytes;
}

} // namespace app
