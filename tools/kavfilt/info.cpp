#include "app/errors.h"
#include "app/image_file.h"
#include "app/padding.h"
#include "app/words.h"
#include "tools/kavfilt/verbs.h"

#include <iostream>
#include <memory>

namespace {

void info(const std::string& path) {
    const app::Image image = app::readImage(path);
    const app::PelStatistics pels = app::statistics(image.pels);
    const vxPair<long> transform = app::transformSize(image.pels.width(), image.pels.height());
    std::cout << "file:      " << app::oneLine(path) << '\n'
              << "format:    " << image.format << '\n'
              << "size:      " << app::size(image.pels.width(), image.pels.height()) << '\n'
              << "depth:     " << app::traits(image.depth).name << '\n'
              << "pels:      " << app::number(pels.minimum) << " .. " << app::number(pels.maximum)
              << ", mean " << app::number(pels.mean) << '\n'
              << "transform: " << app::size(transform.x(), transform.y()) << '\n';
    if (pels.notFinite > 0) {
        std::cout << "note:      " << app::count(pels.notFinite, "pel") << " not finite, the first at ("
                  << pels.notFiniteAt.x() << ", " << pels.notFiniteAt.y() << ")\n";
    }
    for (const std::string& note : image.notes) {
        std::cout << "note:      " << note << '\n';
    }
}

} // namespace

void addInfoVerb(CLI::App& program) {
    CLI::App* verb = program.add_subcommand("info", "Tell what an image file holds");
    const auto path = std::make_shared<std::string>();
    verb->add_option("FILE", *path, "a PNG, TIFF or PGM image")->required();
    verb->callback([path] { info(*path); });
}
