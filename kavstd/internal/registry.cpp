#include "kavstd/internal/registry.h"

#include "kavstd/persistent.h"
#include "kavsys/assert.h"

#include <algorithm>
#include <mutex>
#include <shared_mutex>
#include <utility>
#include <vector>

#if __has_include(<cxxabi.h>)
#include <cstdlib>
#include <cxxabi.h>
#include <memory>
#include <new>
#endif

namespace {

struct Entry {
    std::string typeName;
    const vx_Instantiator* owner;
    vx_Factory make;
};

/// A few dozen types at the most, so a search from the end is quick. Several libraries may register one type.
struct Registry {
    std::shared_mutex mutex;
    std::vector<Entry> entries;
};

/// Made at its first use and never destroyed, so that static objects may register and leave in any order.
Registry& registry() {
    static Registry& instance = *new Registry;
    return instance;
}

} // namespace

#if __has_include(<cxxabi.h>)
std::string vf_TypeName(const std::type_info& type) {
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> name(
        abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), &std::free);
    if (!name) {
        throw std::bad_alloc(); // The name of a real type cannot be refused for another reason.
    }
    return name.get();
}
#else
std::string vf_TypeName(const std::type_info& type) {
    std::string name = type.name();
    for (const std::string keyword : {"class ", "struct "}) {
        for (std::size_t at = name.find(keyword); at != std::string::npos; at = name.find(keyword, at)) {
            name.erase(at, keyword.size());
        }
    }
    return name;
}
#endif

vx_Factory vf_FindFactory(const std::string& typeName) {
    Registry& known = registry();
    const std::shared_lock lock(known.mutex);
    const auto found = std::find_if(known.entries.rbegin(), known.entries.rend(),
                                    [&](const Entry& entry) { return entry.typeName == typeName; });
    return found == known.entries.rend() ? nullptr : found->make;
}

vx_Instantiator::vx_Instantiator(const std::type_info& type, vxPersistent* (*make)()) {
    VX_ASSERT(make != nullptr);
    Entry entry{vf_TypeName(type), this, make};
    Registry& known = registry();
    const std::unique_lock lock(known.mutex);
    known.entries.push_back(std::move(entry));
}

vx_Instantiator::~vx_Instantiator() {
    Registry& known = registry();
    const std::unique_lock lock(known.mutex);
    std::erase_if(known.entries, [this](const Entry& entry) { return entry.owner == this; });
}
