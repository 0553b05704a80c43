/// \file
/// Everything that can be seen of an operand, as text that is equal for equal operands only.
#pragma once

#include "filt/freqfilt.h"
#include "tests/fault/injection.h"
#include "tests/support/filters.h"

#include <concepts>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace fault {

class Observer {
public:
    std::string text;

    template <class T>
    requires std::is_arithmetic_v<T> || std::is_enum_v<T>
    void add(T value) { text.append(reinterpret_cast<const char*>(&value), sizeof value); }
    void add(std::string_view value) {
        add(value.size());
        text.append(value);
    }
    void add(const char* value) { add(std::string_view(value)); }
    void add(const std::string& value) { add(std::string_view(value)); }
    template <class T>
    void add(const vxPair<T>& value) {
        add(value.x());
        add(value.y());
    }
    void add(vxRadian value) { add(value.toDouble()); }
    void add(const vxVector<2>& value) {
        add(value.x());
        add(value.y());
    }
    void add(const vxMatrix<2>& value) {
        for (const int i : {0, 1, 2, 3}) {
            add(value.element(i / 2, i % 2));
        }
    }
    void add(const vxXform<2>& value) {
        add(value.matrix());
        add(value.translation());
    }
    void add(const vx2XformCache& value) { add(static_cast<const vxPersistent&>(value.xform())); }
    void add(const Sink& sink) { add(std::string_view(sink.bytes.data(), sink.size)); }
    void add(const vx_GainTable& table) {
        add(table.isBuilt());
        addAll(table);
    }

    template <class T>
    void add(const vxPelBuffer_const<T>& image) {
        add(vxPair<long>(image.width(), image.height()));
        add(image.offset());
        add(image.xformCache());
        for (long y = 0; y < image.height(); ++y) {
            const T* row = image.pointToOffset() + y * image.rowUpdate();
            addAll(std::vector<T>(row, row + image.width()));
        }
    }

    void add(const vxFrequencyBuffer& buffer) {
        const support::BufferState state(buffer);
        add(state.initialized);
        add(vxPair<long>(state.width, state.height));
        add(vxPair<long>(state.sourceWidth, state.sourceHeight));
        add(state.masked);
        add(vxPair<long>(state.maskedMiny, state.maskedMaxy));
        add(state.consumed);
        add(state.offset);
        add(support::BufferAccess::xformCache(buffer));
        addAll(state.samples);
    }

    /// All that it archives.
    void add(const vxPersistent& object) {
        add(typeid(object).name());
        add(support::storeObject(const_cast<vxPersistent&>(object))); // Storing only reads.
    }

    void add(const std::logic_error& error) { add(error.what()); }

    template <class T>
    void add(const std::optional<T>& value) {
        add(value.has_value());
        if (value) {
            add(*value);
        }
    }
    template <class T>
    void add(const std::unique_ptr<T>& value) {
        add(value != nullptr);
        if (value) {
            add(*value);
        }
    }
    template <class T>
    void add(const std::shared_ptr<T>& value) {
        add(value != nullptr);
        if (value) {
            add(*value);
        }
    }
    template <class T>
    void add(const std::vector<T>& values) {
        addAll(values);
    }

private:
    template <class Range>
    void addAll(const Range& values) {
        add(std::size(values));
        for (const auto& value : values) {
            add(value);
        }
    }
};

template <class T>
std::string observed(const T& operand) {
    Observer observer;
    observer.add(operand);
    return observer.text;
}

} // namespace fault
