/// \file
/// The library's own part in the jobs.
#pragma once

#include "bench/scene.h"

namespace bench {

/// The scene must outlive the task.
[[nodiscard]] Task kavfiltTask(Job job, const Scene& scene);

} // namespace bench
