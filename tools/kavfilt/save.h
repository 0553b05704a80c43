/// \file
/// Filters into files, for the verbs that do it.
#pragma once

#include "app/filters.h"
#include "tools/kavfilt/files.h"

/// Before any work: UsageError for a size that no image has and a name that no filter's file has; WriteError
/// as checkWritable.
void checkSavable(const vxPair<long>& imageSize, const Output& output);

/// Builds a filter, a lobe without its mirror lobe, for the transforms of images of that size, writes it and
/// reports.
void saveFilter(app::FilterParameters parameters, const vxPair<long>& imageSize, const Output& output);
