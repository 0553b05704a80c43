// A program of bytes makes windows of any geometry onto a few pels, moves them to the ends of `long`, and
// copies between them, overlapping or not. Each step is compared with the same in wider integers.
#include "fuzz/support/target.h"
#include "kavstd/pelbuffer.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <vector>

namespace {

__extension__ using Wide = __int128;

constexpr std::size_t registers = 4;
constexpr long memorySize = 512; // Pels that are bound.
constexpr int maximumSteps = 32;

/// Whether [start, start + size) lies in [from, from + extent).
bool covers(long from, long extent, long start, long size) {
    return size >= 1 && start >= from && Wide{start} + size <= Wide{from} + extent;
}

template <class T>
class Machine {
public:
    explicit Machine(fuzz::Bytes input)
        : input_(input), memory_(std::make_shared<std::vector<T>>(memorySize)) {
        for (std::size_t i = 0; i < memory_->size(); ++i) {
            (*memory_)[i] = static_cast<T>(i * 7 + 1);
        }
    }

    void run() {
        for (int i = 0; i < maximumSteps && !input_.atEnd(); ++i) {
            step();
            for (const vxPelBuffer<T>& window : windows_) {
                checkWindow(window);
            }
        }
    }

private:
    void step() {
        switch (input_.below(8)) {
        case 0:
            return allocate();
        case 1:
            return bind();
        case 2:
            return narrow();
        case 3:
            return any().offset(input_.number(), input_.number());
        case 4:
            return set();
        case 5:
            any() = any(); // Rebinds.
            return;
        default:
            return copy();
        }
    }

    vxPelBuffer<T>& any() { return windows_[input_.below(registers)]; }

    void allocate() {
        vxPelBuffer<T>& window = any();
        const long width = input_.number();
        const long height = input_.number();
        const long alignment = input_.flag() ? 32 : input_.number();
        const auto outcome = fuzz::attempt([&] { window = vxPelBuffer<T>(width, height, alignment); });
        if (outcome != fuzz::Outcome::done) {
            return;
        }
        fuzz::require(window.isBound() == (width >= 1 && height >= 1), "pels for a size of at least 1");
        if (window.isBound()) {
            fuzz::require(window.width() == width && window.height() == height, "the size asked for");
            fuzz::require(reinterpret_cast<std::uintptr_t>(window.pointToOffset()) %
                                  static_cast<std::uintptr_t>(alignment) ==
                              0,
                          "aligned rows");
            fuzz::require(!(*window.pointToOffset() > 0), "new pels are zero");
        }
    }

    // To the memory, or to nothing with numbers that no memory has.
    void bind() {
        vxPelBuffer<T>& window = any();
        if (input_.flag()) {
            const long width = input_.number();
            const long height = input_.number();
            const auto outcome =
                fuzz::attempt([&] { window = vxPelBuffer<T>(nullptr, width, height, input_.number()); });
            fuzz::require(outcome != fuzz::Outcome::done, "null pels are refused");
            return;
        }
        const long width = input_.between(1, 16);
        const long pitch = width + input_.between(0, 5);
        const long height = input_.between(1, 20);
        const long start = input_.between(0, memorySize - pitch * height);
        const bool bottomUp = input_.flag();
        T* const first = memory_->data() + start + (bottomUp ? (height - 1) * pitch : 0);
        fuzz::attempt(
            [&] { window = vxPelBuffer<T>(first, width, height, bottomUp ? -pitch : pitch, memory_); });
    }

    void narrow() {
        const vxPelBuffer<T> from = any();
        vxPelBuffer<T>& to = any();
        const bool near = input_.flag();
        const auto at = [this, near](long offset, long extent) {
            // Mostly where there may be a window.
            const auto moved = static_cast<unsigned long>(offset) +
                               static_cast<unsigned long>(input_.between(-1, std::min(extent, 64L)));
            return near ? static_cast<long>(moved) : input_.number();
        };
        const long x = at(from.offset().x(), from.width());
        const long y = at(from.offset().y(), from.height());
        const long width = near ? input_.between(0, 17) : input_.number();
        const long height = near ? input_.between(0, 17) : input_.number();
        const bool exists = covers(from.offset().x(), from.width(), x, width) &&
                            covers(from.offset().y(), from.height(), y, height);
        const auto outcome = fuzz::attempt([&] { to = from.window(x, y, width, height); });
        if (outcome == fuzz::Outcome::outOfMemory) {
            fuzz::require(!exists, "a window needs no memory");
            return;
        }
        fuzz::require(exists == (outcome == fuzz::Outcome::done), "windows inside exist and no others do");
        if (exists) {
            fuzz::require(to.offset() == vxPair<long>(x, y), "a window lies where it was asked for");
            fuzz::require(to.pointToOffset() ==
                              from.pointToRow(y) + static_cast<long>(Wide{x} - from.offset().x()),
                          "a window's pels are the buffer's");
        }
    }

    void set() {
        vxPelBuffer<T>& window = any();
        const T value = input_.any<T>();
        vfPelSet(window, value);
        forEachPel(window, [&](T& pel) {
            fuzz::require(std::memcmp(&pel, &value, sizeof value) == 0, "every pel is set");
        });
    }

    void copy() {
        const vxPelBuffer<T> source = any();
        vxPelBuffer<T>& destination = any();
        const std::vector<T> from = contentOf(source);
        const std::vector<T> before = contentOf(destination);
        const std::vector<T> memory = *memory_;
        const auto outcome = fuzz::attempt([&] { vfPelCopy(source, destination); });
        if (outcome == fuzz::Outcome::outOfMemory) {
            fuzz::require(same(before, contentOf(destination)), "a copy without memory changes nothing");
            return;
        }
        fuzz::require(outcome == fuzz::Outcome::done, "a copy is never refused");
        fuzz::require(same(copied(source, from, destination, before), contentOf(destination)),
                      "the common pels are copied");
        checkOutside(memory, destination);
    }

    /// What the destination's pels must be.
    static std::vector<T> copied(const vxPelBuffer<T>& source, const std::vector<T>& from,
                                 const vxPelBuffer<T>& destination, std::vector<T> to) {
        const Wide shiftX = Wide{destination.offset().x()} - source.offset().x();
        const Wide shiftY = Wide{destination.offset().y()} - source.offset().y();
        for (long y = 0; y < destination.height(); ++y) {
            for (long x = 0; x < destination.width(); ++x) {
                const Wide sourceX = x + shiftX;
                const Wide sourceY = y + shiftY;
                if (sourceX >= 0 && sourceX < source.width() && sourceY >= 0 && sourceY < source.height()) {
                    to[static_cast<std::size_t>(y * destination.width() + x)] =
                        from[static_cast<std::size_t>(sourceY * source.width() + sourceX)];
                }
            }
        }
        return to;
    }

    /// No pel of the bound memory changed outside the window.
    void checkOutside(std::vector<T> before, const vxPelBuffer<T>& window) {
        const T* const first = memory_->data();
        forEachPel(window, [&](const T& pel) {
            const std::less<const T*> lower;
            if (!lower(&pel, first) && lower(&pel, first + memorySize)) {
                before[static_cast<std::size_t>(&pel - first)] = pel;
            }
        });
        fuzz::require(same(before, *memory_), "no pel outside the window is written");
    }

    static bool same(const std::vector<T>& a, const std::vector<T>& b) {
        return a.size() == b.size() &&
               (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0);
    }

    template <class Visit>
    static void forEachPel(const vxPelBuffer<T>& window, Visit visit) {
        for (long y = 0; y < window.height(); ++y) {
            T* const row = window.pointToOffset() + y * window.rowUpdate();
            for (long x = 0; x < window.width(); ++x) {
                visit(row[x]);
            }
        }
    }

    static std::vector<T> contentOf(const vxPelBuffer<T>& window) {
        std::vector<T> content;
        content.reserve(static_cast<std::size_t>(window.width() * window.height()));
        forEachPel(window, [&](T& pel) { content.push_back(pel); });
        return content;
    }

    void checkWindow(const vxPelBuffer<T>& window) {
        if (!window.isBound()) {
            fuzz::require(window.width() == 0 && window.height() == 0, "an unbound buffer is 0 x 0");
            return;
        }
        const long y = window.offset().y();
        fuzz::require(window.pointToRow(y) == window.pointToOffset(), "the first row is at the offset");
        const Wide beyond = Wide{y} + window.height();
        if (beyond <= std::numeric_limits<long>::max()) {
            checkNoRow(window, static_cast<long>(beyond));
        }
        if (y > std::numeric_limits<long>::min()) {
            checkNoRow(window, y - 1);
        }
    }

    static void checkNoRow(const vxPelBuffer<T>& window, long y) {
        const auto outcome = fuzz::attempt([&] { static_cast<void>(window.pointToRow(y)); });
        fuzz::require(outcome != fuzz::Outcome::done, "no row lies outside the window");
    }

    fuzz::Bytes input_;
    std::shared_ptr<std::vector<T>> memory_;
    std::array<vxPelBuffer<T>, registers> windows_;
};

} // namespace

void fuzz::run(Bytes input) {
    switch (input.below(3)) {
    case 0:
        return Machine<unsigned char>(input).run();
    case 1:
        return Machine<unsigned short>(input).run();
    default:
        return Machine<double>(input).run();
    }
}
