// libpng reports errors by longjmp, which must not skip a destructor. So each call of libpng runs in a step
// of its own (guarded), whose frames hold nothing to destroy; everything that owns memory or throws stays
// outside the steps.
#include "app/png_file.h"

#include "app/errors.h"
#include "kavstd/attention.h"

#include <cmath>
#include <csetjmp>
#include <cstring>
#include <istream>
#include <png.h>

namespace app {
namespace {

// What libpng's callbacks reach.
struct Session {
    std::istream* file = nullptr;
    std::vector<unsigned char>* bytes = nullptr;
    char reason[160] = "damaged";
};

extern "C" {

[[noreturn]] static void onPngError(png_structp png, png_const_charp message) {
    Session* session = static_cast<Session*>(png_get_error_ptr(png));
    std::strncpy(session->reason, message, sizeof session->reason - 1);
    png_longjmp(png, 1);
}

static void onPngWarning(png_structp, png_const_charp) {}

static void onPngRead(png_structp png, png_bytep to, std::size_t size) {
    std::istream& file = *static_cast<Session*>(png_get_io_ptr(png))->file;
    if (!file.read(reinterpret_cast<char*>(to), static_cast<std::streamsize>(size))) {
        png_error(png, "the file ends early");
    }
}

} // extern "C"

bool append(std::vector<unsigned char>& bytes, const unsigned char* from, std::size_t size) noexcept {
    try {
        bytes.insert(bytes.end(), from, from + size);
        return true;
    } catch (...) {
        return false;
    }
}

extern "C" {

static void onPngWrite(png_structp png, png_bytep from, std::size_t size) {
    if (!append(*static_cast<Session*>(png_get_io_ptr(png))->bytes, from, size)) {
        png_error(png, "out of memory");
    }
}

static void onPngFlush(png_structp) {}

} // extern "C"

// False when libpng reported an error. The step and what it calls hold nothing that has a destructor.
template <class Step>
bool guarded(png_structp png, const Step& step) {
    if (setjmp(png_jmpbuf(png)) != 0) {
        return false;
    }
    step();
    return true;
}

class Reader {
public:
    explicit Reader(std::istream& file) {
        session_.file = &file;
        png_ = png_create_read_struct(PNG_LIBPNG_VER_STRING, &session_, onPngError, onPngWarning);
        if (png_ != nullptr) {
            info_ = png_create_info_struct(png_);
        }
    }
    ~Reader() { png_destroy_read_struct(&png_, &info_, nullptr); }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    Image read() {
        if (info_ == nullptr) {
            throw std::bad_alloc();
        }
        readHeader();
        Image image;
        image.format = "PNG";
        image.pels = newPels(png_get_image_width(png_, info_), png_get_image_height(png_, info_));
        addNotes(image);
        startRows();
        readRows();
        image.depth = png_get_bit_depth(png_, info_) == 16 ? Depth::bits16 : Depth::bits8;
        const bool colour = png_get_channels(png_, info_) == 3;
        for (long y = 0; y < image.pels.height(); ++y) {
            convertRow(rows_.data() + static_cast<std::size_t>(y) * rowBytes_, colour, image, y);
        }
        return image;
    }

private:
    template <class Step>
    void run(const Step& step) {
        if (!guarded(png_, step)) {
            throw UnreadableError(std::string("PNG: ") + session_.reason);
        }
    }

    void readHeader() {
        run([this] {
            png_set_read_fn(png_, &session_, onPngRead);
            // Metadata is skipped: libpng would allocate as much as a chunk claims to hold.
            png_set_keep_unknown_chunks(png_, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
            png_set_user_limits(png_, 0x7fffffff,
                                0x7fffffff); // The size is checked here, with a better message.
            png_read_info(png_, info_);
        });
    }

    void addNotes(Image& image) const {
        const int type = png_get_color_type(png_, info_);
        if ((type & PNG_COLOR_MASK_COLOR) != 0) {
            image.notes.emplace_back("colour is converted to luminance");
        }
        if ((type & PNG_COLOR_MASK_ALPHA) != 0 || png_get_valid(png_, info_, PNG_INFO_tRNS) != 0) {
            image.notes.emplace_back("transparency is left out");
        }
        if (type == PNG_COLOR_TYPE_GRAY && png_get_bit_depth(png_, info_) < 8) {
            image.notes.push_back(std::to_string(png_get_bit_depth(png_, info_)) +
                                  "-bit pels are scaled to 0 .. 255");
        }
    }

    // Any file becomes rows of one or three samples of 8 or 16 bits.
    void startRows() {
        run([this] {
            if (png_get_color_type(png_, info_) == PNG_COLOR_TYPE_PALETTE) {
                png_set_palette_to_rgb(png_);
            }
            if (png_get_bit_depth(png_, info_) < 8) {
                png_set_expand_gray_1_2_4_to_8(png_);
            }
            png_set_strip_alpha(png_);
            passes_ = png_set_interlace_handling(png_);
            png_read_update_info(png_, info_);
        });
        rowBytes_ = png_get_rowbytes(png_, info_);
        rows_.resize(rowBytes_ * png_get_image_height(png_, info_));
    }

    void readRows() {
        const std::size_t height = png_get_image_height(png_, info_);
        for (int pass = 0; pass < passes_; ++pass) {
            for (std::size_t y = 0; y < height; ++y) {
                vxAttention::check();
                unsigned char* row = rows_.data() + y * rowBytes_;
                run([this, row] { png_read_row(png_, row, nullptr); });
            }
        }
        run([this] { png_read_end(png_, nullptr); });
    }

    static void convertRow(const unsigned char* bytes, bool colour, Image& image, long y) {
        const auto sample = [&image, bytes](long index) -> double {
            return image.depth == Depth::bits8 ? bytes[index] : bytes[2 * index] * 256 + bytes[2 * index + 1];
        };
        double* row = image.pels.pointToRow(y);
        for (long x = 0; x < image.pels.width(); ++x) {
            row[x] = colour ? std::floor(luminanceWeights[0] * sample(3 * x) +
                                         luminanceWeights[1] * sample(3 * x + 1) +
                                         luminanceWeights[2] * sample(3 * x + 2) + 0.5)
                            : sample(x);
        }
    }

    Session session_;
    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
    int passes_ = 1;
    std::size_t rowBytes_ = 0;
    std::vector<unsigned char> rows_;
};

class Writer {
public:
    explicit Writer(std::vector<unsigned char>& bytes) {
        session_.bytes = &bytes;
        png_ = png_create_write_struct(PNG_LIBPNG_VER_STRING, &session_, onPngError, onPngWarning);
        if (png_ != nullptr) {
            info_ = png_create_info_struct(png_);
        }
    }
    ~Writer() { png_destroy_write_struct(&png_, &info_); }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    void write(const Image& image) {
        if (info_ == nullptr) {
            throw std::bad_alloc();
        }
        const int bits = image.depth == Depth::bits16 ? 16 : 8;
        const png_uint_32 width = static_cast<png_uint_32>(image.pels.width());
        const png_uint_32 height = static_cast<png_uint_32>(image.pels.height());
        run([=, this] {
            png_set_write_fn(png_, &session_, onPngWrite, onPngFlush);
            png_set_IHDR(png_, info_, width, height, bits, PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE,
                         PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
            png_write_info(png_, info_);
        });
        std::vector<unsigned char> row;
        for (long y = 0; y < image.pels.height(); ++y) {
            vxAttention::check();
            row.clear();
            for (long x = 0; x < image.pels.width(); ++x) {
                const unsigned long value = quantize(image.pels.pointToRow(y)[x], image.depth);
                if (bits == 16) {
                    row.push_back(static_cast<unsigned char>(value >> 8));
                }
                row.push_back(static_cast<unsigned char>(value & 255));
            }
            const unsigned char* pels = row.data();
            run([this, pels] { png_write_row(png_, pels); });
        }
        run([this] { png_write_end(png_, info_); });
    }

private:
    template <class Step>
    void run(const Step& step) {
        if (!guarded(png_, step)) {
            throw WriteError(std::string("PNG: ") + session_.reason);
        }
    }

    Session session_;
    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
};

} // namespace

Image readPng(std::istream& file) {
    return Reader(file).read();
}

std::vector<unsigned char> encodePng(const Image& image) {
    std::vector<unsigned char> bytes;
    Writer(bytes).write(image);
    return bytes;
}

} // namespace app
