/// \file
/// The functions that the installed headers declare.
#pragma once

#include <filesystem>
#include <set>
#include <string>

namespace fault {

/// Each public or protected function as "scope::name(parameters as declared)", with " const" where it is.
/// Friends count as functions of no scope, and an argument's default is part of the text. Private and deleted
/// functions, and those that a class has without declaring them, are not among them.
[[nodiscard]] std::set<std::string> publicFunctions(const std::filesystem::path& sourceTree);

} // namespace fault
