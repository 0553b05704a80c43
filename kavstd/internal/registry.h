/// \file
/// The names of types, and the factories that are registered under them.
#pragma once

#include <string>
#include <typeinfo>

class vxPersistent;

/// The type's name as it is written in the source, the same on every compiler:
/// "vxFrequencyDefs::InvalidSize".
[[nodiscard]] std::string vf_TypeName(const std::type_info& type);

using vx_Factory = vxPersistent* (*)();

/// The factory that is registered for that name; null if there is none.
[[nodiscard]] vx_Factory vf_FindFactory(const std::string& typeName);
