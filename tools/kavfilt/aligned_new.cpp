// Aligned memory for the program's long runs. The C library's own (memalign in glibc before 2.38) cuts a new
// piece out of larger ones where a freed piece would do, as soon as anything that lives longer lies between
// them, so that a batch would grow with every image that it has done. Plain malloc takes freed pieces again.
#include <cstdlib>
#include <memory>
#include <new>

// What malloc gave lies right before the aligned piece.
void* operator new(std::size_t size, std::align_val_t alignment) {
    const auto align = static_cast<std::size_t>(alignment);
    std::size_t space = size + align;
    if (space < size || space + sizeof(void*) < space) {
        throw std::bad_alloc();
    }
    void* const whole = std::malloc(space + sizeof(void*));
    if (whole == nullptr) {
        throw std::bad_alloc();
    }
    void* piece = static_cast<void**>(whole) + 1;
    std::align(align, size, piece, space);
    static_cast<void**>(piece)[-1] = whole;
    return piece;
}

void operator delete(void* piece, std::align_val_t) noexcept {
    if (piece != nullptr) {
        std::free(static_cast<void**>(piece)[-1]);
    }
}
