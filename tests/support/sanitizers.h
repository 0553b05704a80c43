/// \file
/// Whether a sanitizer keeps the memory: it reserves more address space than any limit that would tell, keeps
/// freed memory and has records of its own.
#pragma once

namespace support {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool sanitizerKeepsMemory = true;
#elif defined(__has_feature)
inline constexpr bool sanitizerKeepsMemory =
    __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
inline constexpr bool sanitizerKeepsMemory = false;
#endif

} // namespace support
