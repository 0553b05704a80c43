/// \file
/// A recipe's filter as C++ for programs that use the library.
#pragma once

#include "app/recipe.h"

#include <string>

namespace app {

/// A header with a class Filter, whose constructor takes the size of the spectra (for an image filter, the
/// kernel's pels before it) and whose apply filters a spectrum in place, to the same bits as makeFilter's.
/// `origin` is what it was made from, for its first comment.
[[nodiscard]] std::string recipeCode(const Recipe& recipe, const std::string& origin);

} // namespace app
