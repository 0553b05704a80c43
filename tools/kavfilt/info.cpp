#include "app/errors.h"
#include "app/filter_file.h"
#include "app/image_file.h"
#include "app/input_file.h"
#include "app/padding.h"
#include "app/words.h"
#include "tools/kavfilt/verbs.h"

#include <iostream>
#include <memory>
#include <numbers>
#include <string>

namespace {

void printImage(const std::string& path, const app::Image& image) {
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

std::string inTwo(const app::Extents& extents) {
    return app::number(extents.along) + " along, " + app::number(extents.across) + " across";
}

void printLobe(const app::FilterParameters& filter) {
    std::cout << "angle:     " << app::number(filter.angle.toDouble() * 180 / std::numbers::pi)
              << " degrees\n"
              << "sigma:     " << inTwo(filter.sigma) << '\n'
              << "plateau:   " << inTwo(filter.plateau) << '\n';
}

void printRing(const app::FilterParameters& filter) {
    std::cout << "sigma:     " << app::number(filter.sigma.along) << '\n'
              << "plateau:   " << app::number(filter.plateau.along) << '\n';
}

void printFilter(const std::string& path, const vxFrequencyFilter& filter) {
    const app::FilterDescription description = app::describe(filter).value();
    const app::FilterParameters& parameters = description.parameters;
    std::cout << "file:      " << app::oneLine(path) << '\n'
              << "format:    filter archive\n"
              << "type:      " << parameters.type << '\n'
              << "transform: " << app::size(description.size.x(), description.size.y()) << '\n';
    if (parameters.type == "image") {
        return; // Its spectrum is all it has.
    }
    std::cout << "frequency: " << app::number(parameters.frequency) << " cycles per pixel\n";
    if (parameters.type.starts_with("gabor")) {
        printLobe(parameters);
    } else {
        printRing(parameters);
    }
    std::cout << "dc radius: " << parameters.dcRadius << '\n';
}

void info(const std::string& path) {
    app::readInput(path, [&path](std::istream& file) {
        if (app::isArchive(file)) {
            printFilter(path, *app::readFilter(file));
        } else {
            printImage(path, app::readImage(file));
        }
    });
}

} // namespace

void addInfoVerb(CLI::App& program) {
    CLI::App* verb = program.add_subcommand("info", "Tell what an image or filter file holds");
    const auto path = std::make_shared<std::string>();
    verb->add_option("FILE", *path, "a PNG, TIFF or PGM image, or a filter that \"kavfilt save\" made")
        ->required();
    verb->callback([path] { info(*path); });
}
