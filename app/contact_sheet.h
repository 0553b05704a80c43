/// \file
/// Pictures side by side with labels.
#pragma once

#include "app/image.h"

#include <string>
#include <vector>

namespace app {

/// One picture of a sheet. Labels are set in capitals, digits and a few signs; anything else is a blank.
struct Panel {
    Image picture; ///< 8-bit.
    std::string title;
    std::string caption; ///< A second, smaller line.
};

/// The panels in one row, tops aligned, each under its title and caption. Labels are cut at their picture's
/// width.
[[nodiscard]] Image contactSheet(const std::vector<Panel>& panels);

/// Writes a line of text into pels with its upper left corner at (x, y), each dot of the 5 x 7 letters
/// `scale` pels large. What lies outside the pels is left out. Returns the line's width.
long drawText(vxPelBuffer<double>& pels, long x, long y, const std::string& text, long scale, double grey);

} // namespace app
