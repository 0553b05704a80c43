// The aligned operator new of glibc before 2.38 cuts a new piece out of larger ones where a freed piece of
// the same size would do, as soon as anything that lives longer lies between them: a program that keeps a few
// bytes of each image would grow with every image. So pieces are aligned here, each behind a pointer to the
// whole that it lies in. Where the whole is aligned already, the piece ends with it, so that an address
// sanitizer sees what runs over its end.
#include "kavsys/aligned_memory.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>

namespace {
constexpr std::size_t pointerSize = sizeof(void*);
static_assert(__STDCPP_DEFAULT_NEW_ALIGNMENT__ >= pointerSize,
              "room for the pointer between whole and piece");
} // namespace

void* vf_AllocateAligned(std::size_t size, std::size_t alignment) {
    const std::size_t step = std::max<std::size_t>(alignment, __STDCPP_DEFAULT_NEW_ALIGNMENT__);
    if (size > std::numeric_limits<std::size_t>::max() - step) {
        throw std::bad_alloc();
    }
    auto* const whole = static_cast<std::byte*>(::operator new(size + step));
    // At least one default alignment behind `whole`, at most one step.
    std::byte* const piece = whole + (step - reinterpret_cast<std::uintptr_t>(whole) % step);
    std::memcpy(piece - pointerSize, &whole, pointerSize);
    return piece;
}

void vf_FreeAligned(void* memory) noexcept {
    if (memory != nullptr) {
        void* whole = nullptr;
        std::memcpy(&whole, static_cast<std::byte*>(memory) - pointerSize, pointerSize);
        ::operator delete(whole);
    }
}
