/// \file
/// Every text that the library throws. Near-duplicates are deliberate: each operation has its own.
#pragma once

namespace vx_Messages {
inline constexpr const char* sizeLimit = "Width and Height must be no larger than 2048.";
inline constexpr const char* bufferUninitialized = "FrequencyBuffer has not been initialized";
inline constexpr const char* bufferConsumed = "Cannot access frequency data once inverse has been computed.";
inline constexpr const char* badCoord = "Coordinates are out of bounds";
inline constexpr const char* cropWidthTooSmall = "Copied width must be > 1";
inline constexpr const char* cropHeightTooSmall = "Copied height must be > 1";
inline constexpr const char* cropWidthTooLarge = "Copied width cannot be greater than source width";
inline constexpr const char* cropHeightTooLarge = "Copied height cannot be greater than source height";
inline constexpr const char* cropWidthUnsupported = "Unsupported width";
inline constexpr const char* cropHeightUnsupported = "Unsupported height";
inline constexpr const char* constructorImagesDiffer =
    "Real and Imaginary PelBuffers must have the same dimensions and offset.";
inline constexpr const char* transformImagesDiffer =
    "Real and Imaginary buffers must have the same size and offset.";
inline constexpr const char* multiplySizesDiffer = "Can only multiply equal-sized frequency buffers.";
inline constexpr const char* addSizesDiffer = "Can only add equal-sized frequency buffers.";
inline constexpr const char* subtractSizesDiffer = "Can only subtract equal-sized frequency buffers.";
inline constexpr const char* filterUninitialized = "FrequencyFilter has not been initialized";
inline constexpr const char* sizeNotPowerOfTwo = "Size must be a power of 2.";
inline constexpr const char* frequencyRange = "Frequency must be between 0.0 and 0.5.";
inline constexpr const char* lobeSigma = "Sigma values must be positive.";
inline constexpr const char* lobePlateau = "Plateau values cannot be negative.";
inline constexpr const char* bandSigma = "Sigma must be positive.";
inline constexpr const char* bandPlateau = "Plateau cannot be negative.";
inline constexpr const char* removalRadius = "DC Removal Radius cannot be negative.";
inline constexpr const char* protectionRadius = "DC Protection Radius cannot be negative.";
inline constexpr const char* filterSizeMismatch = "Size of frequency buffer does not match size of filter.";
} // namespace vx_Messages
