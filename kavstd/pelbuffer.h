/// \file
/// Images: rectangular windows onto pels.
///
/// A pel buffer is a handle. Copying one makes another window on the same pels, with an offset and a
/// transform of its own; assigning rebinds the handle and copies no pels; the pels live as long as any window
/// on them. The window covers the pels (x, y) with offset.x <= x < offset.x + width and offset.y <= y <
/// offset.y + height. Offsets may be any values.
#pragma once

#include "kavstd/pair.h"
#include "kavstd/xform.h"

#include <cstddef>
#include <memory>
#include <type_traits>

/// Whether T is a pel type: 8-bit, 16-bit or double-precision.
template <class T>
inline constexpr bool vx_isPel =
    std::is_same_v<T, unsigned char> || std::is_same_v<T, unsigned short> || std::is_same_v<T, double>;

#if defined(__cpp_concepts)
/// The same for code of C++20. The functions and classes here must not be constrained with it: their names in
/// the libraries would depend on the language version and the compiler.
template <class T>
concept vx_Pel = vx_isPel<T>;
#endif

/// What windows of every pel type have: size, row update, offset, transform.
class VX_EXPORT vx_PelBuffer {
public:
    /// A window, row or binding that the pels do not have.
    class BadGeometry;

    /// Whether there are pels. An unbound buffer is 0 x 0.
    [[nodiscard]] bool isBound() const noexcept { return pels_ != nullptr; }
    /// Pels in a row.
    [[nodiscard]] long width() const noexcept { return width_; }
    /// Rows.
    [[nodiscard]] long height() const noexcept { return height_; }
    /// Pels from one row to the next; negative for an image that is stored bottom-up.
    [[nodiscard]] long rowUpdate() const noexcept { return rowUpdate_; }

    /// The coordinates of the window's first pel (upper left).
    [[nodiscard]] const vxPair<long>& offset() const noexcept { return offset_; }
    void offset(const vxPair<long>& value) noexcept { offset_ = value; }
    void offset(long x, long y) noexcept { offset_ = {x, y}; }

    /// The client-coordinate transform.
    [[nodiscard]] const vx2XformCache& xformCache() const noexcept { return xformCache_; }
    /// Sets the client-coordinate transform.
    void copyXforms(const vx2XformCache& value) noexcept { xformCache_ = value; }

protected:
    vx_PelBuffer() = default;
    ~vx_PelBuffer() = default;
    /// Another window on the same pels. There are no moves: moving from a handle copies it.
    vx_PelBuffer(const vx_PelBuffer&) = default;
    /// Another window on the same pels.
    vx_PelBuffer& operator=(const vx_PelBuffer&) = default;

    /// Makes new pels of `pelSize` bytes, of any values.
    void allocate(long width, long height, long alignment, std::size_t pelSize);
    /// Zeroes what allocate made.
    void clear(std::size_t pelSize) noexcept;
    /// Checks and takes the caller's pels.
    void bind(void* pels, long width, long height, long rowUpdate, std::size_t pelSize,
              std::shared_ptr<void> owner);
    /// Pels from the window's first to the row with that y coordinate.
    [[nodiscard]] std::ptrdiff_t distanceToRow(long y) const;
    /// Pels from the window's first to that of the smaller window at (x, y), which must lie inside.
    [[nodiscard]] std::ptrdiff_t distanceToWindow(long x, long y, long width, long height) const;
    /// Makes this the smaller window at (x, y), whose first pel is `pels`.
    void narrow(void* pels, long x, long y, long width, long height) noexcept;

    void* pels_ = nullptr;        ///< The window's first pel; null when not bound.
    std::shared_ptr<void> owner_; ///< Keeps the pels alive; empty for a window on the caller's own.
    long width_ = 0;              ///< See width().
    long height_ = 0;             ///< See height().
    long rowUpdate_ = 0;          ///< See rowUpdate().
    vxPair<long> offset_;         ///< See offset().
    vx2XformCache xformCache_;    ///< See xformCache().
};

/// A window, row or binding that the pels do not have was asked for.
class VX_EXPORT vx_PelBuffer::BadGeometry : public vx_ConcreteError<vx_PelBuffer::BadGeometry, 0x10006212> {
public:
    using vx_ConcreteError::vx_ConcreteError;
    ~BadGeometry() override;
};

/// A window for reading.
template <class T>
class VX_EXPORT vxPelBuffer_const : public vx_PelBuffer {
    static_assert(vx_isPel<T>, "pels are unsigned char, unsigned short or double");

public:
    /// Not bound, 0 x 0, offset (0, 0).
    vxPelBuffer_const() = default;
    /// New pels, all zero, each row at a multiple of `alignment` bytes, identity transform. A width or height
    /// below 1 gives an unbound buffer. Throws BadGeometry when `alignment` is not a power of two,
    /// std::bad_alloc or std::length_error when the size cannot be had.
    vxPelBuffer_const(long width, long height, long alignment = 32);
    /// A window on the caller's pels, which `owner`, if given, keeps alive. Null pels, a size below 1, a
    /// |rowUpdate| below the width, or an extent or row update whose bytes do not fit std::ptrdiff_t:
    /// BadGeometry.
    vxPelBuffer_const(const T* pels, long width, long height, long rowUpdate,
                      std::shared_ptr<void> owner = {});

    /// The window's first pel (upper left); null when not bound.
    [[nodiscard]] const T* pointToOffset() const noexcept { return static_cast<const T*>(pels_); }
    /// The first pel of the row with that y coordinate; BadGeometry outside the window.
    [[nodiscard]] const T* pointToRow(long y) const;
    /// A smaller window on the same pels, at (x, y) in the buffer's coordinates, with the buffer's transform;
    /// BadGeometry for a size below 1 and where it leaves the buffer.
    [[nodiscard]] vxPelBuffer_const window(long x, long y, long width, long height) const;
};

/// A window for reading and writing. Constness is the handle's, not the pels'.
template <class T>
class VX_EXPORT vxPelBuffer : public vxPelBuffer_const<T> {
public:
    /// Not bound, 0 x 0, offset (0, 0).
    vxPelBuffer() = default;
    /// New pels, all zero, as that constructor of vxPelBuffer_const makes them.
    vxPelBuffer(long width, long height, long alignment = 32);
    /// As that constructor, but the pels have any values: for a caller that writes them all.
    [[nodiscard]] static vxPelBuffer unset(long width, long height, long alignment = 32);
    /// A window on the caller's pels, as that constructor of vxPelBuffer_const.
    vxPelBuffer(T* pels, long width, long height, long rowUpdate, std::shared_ptr<void> owner = {});

    /// The window's first pel (upper left); null when not bound.
    [[nodiscard]] T* pointToOffset() const noexcept { return static_cast<T*>(this->pels_); }
    /// The first pel of the row with that y coordinate; BadGeometry outside the window.
    [[nodiscard]] T* pointToRow(long y) const;
    /// A smaller window on the same pels, as vxPelBuffer_const::window.
    [[nodiscard]] vxPelBuffer window(long x, long y, long width, long height) const;
};

/// Sets every pel of the window. T is the image's; the value is converted to it.
template <class T>
VX_EXPORT void vfPelSet(vxPelBuffer<T>& image, std::common_type_t<T> value);

/// Copies the pels whose coordinates lie in both windows, right even when the windows share memory. Nothing
/// happens when nothing overlaps or a buffer is not bound. Windows of different row updates that share memory
/// need a temporary copy: std::bad_alloc, with nothing copied, when it cannot be had.
template <class T>
VX_EXPORT void vfPelCopy(const vxPelBuffer_const<T>& source, vxPelBuffer<T>& destination);

/// \cond
extern template class VX_EXPORT vxPelBuffer_const<unsigned char>;
extern template class VX_EXPORT vxPelBuffer_const<unsigned short>;
extern template class VX_EXPORT vxPelBuffer_const<double>;
extern template class VX_EXPORT vxPelBuffer<unsigned char>;
extern template class VX_EXPORT vxPelBuffer<unsigned short>;
extern template class VX_EXPORT vxPelBuffer<double>;

extern template void vfPelSet(vxPelBuffer<unsigned char>&, unsigned char);
extern template void vfPelSet(vxPelBuffer<unsigned short>&, unsigned short);
extern template void vfPelSet(vxPelBuffer<double>&, double);
extern template void vfPelCopy(const vxPelBuffer_const<unsigned char>&, vxPelBuffer<unsigned char>&);
extern template void vfPelCopy(const vxPelBuffer_const<unsigned short>&, vxPelBuffer<unsigned short>&);
extern template void vfPelCopy(const vxPelBuffer_const<double>&, vxPelBuffer<double>&);
/// \endcond
