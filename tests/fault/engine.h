/// \file
/// Rows of operations, and the engine that makes each point of each of them fail.
///
/// A row is run again and again with its first, second, ... allocation, cancellation point and archive
/// primitive failing, until it gets through. After each failure the engine checks that the injected exception
/// came out unchanged, that the operands keep the row's guarantee, that the call succeeds when it is repeated
/// and then gives the bits of an undisturbed run, and, when everything is destroyed, that nothing was leaked.
#pragma once

#include "tests/fault/observer.h"

#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

namespace fault {

enum class Guarantee {
    strong,    ///< A failure leaves every operand as it was.
    sized,     ///< It may leave the row's results, which are buffers, uninitialized; the repeated call sizes
               ///< them.
    rewritten, ///< It may leave anything valid in the row's results; the repeated call writes them again.
    inPlace,   ///< The same, but what the call worked on is lost: it takes new operands to repeat it.
    absorbs,   ///< A failure does not come out; the result may be a lesser one.
    cannotFail ///< There is no point that could.
};

/// The operands of one run.
class Trial {
public:
    virtual ~Trial() = default;
    virtual void run() = 0;
    /// What can be seen of each operand.
    [[nodiscard]] virtual std::vector<std::string> observe() const = 0;
    /// Whether an operand is a buffer without samples.
    [[nodiscard]] virtual bool isUninitialized(std::size_t operand) const = 0;
    /// Assigns the operands of another trial of the row.
    virtual void assign(const Trial& other) = 0;
};

struct Row {
    std::vector<std::string> operations; // That the run calls, as publicFunctions gives them.
    std::string state;                   // Of the operands.
    Guarantee guarantee;
    std::vector<std::size_t> results; // The operands that a failure may change.
    std::function<std::unique_ptr<Trial>()> make;
};

/// Where operands go whose content after a failure means nothing: the bytes of a store.
template <class T>
inline constexpr bool isScratch = std::is_same_v<T, Sink>;

inline bool lacksSamples(const vxFrequencyBuffer& buffer) {
    return support::BufferAccess::data(buffer) == nullptr;
}
template <class T>
bool lacksSamples(const T& /*not a buffer*/) {
    return false;
}

template <class Operands, class Run>
class TupleTrial : public Trial {
public:
    TupleTrial(Operands operands, Run run) : operands_(std::move(operands)), run_(std::move(run)) {}

    void run() override { std::apply(run_, operands_); }

    [[nodiscard]] std::vector<std::string> observe() const override {
        return std::apply(
            [](const auto&... operand) { return std::vector<std::string>{observed(operand)...}; }, operands_);
    }

    [[nodiscard]] bool isUninitialized(std::size_t operand) const override {
        std::vector<bool> without;
        std::apply([&](const auto&... each) { (without.push_back(lacksSamples(each)), ...); }, operands_);
        return without.at(operand);
    }

    void assign(const Trial& other) override {
        if constexpr (std::is_copy_assignable_v<Operands>) {
            operands_ = dynamic_cast<const TupleTrial&>(other).operands_;
        } else {
            throw std::logic_error("an operation in place on what cannot be assigned");
        }
    }

private:
    Operands operands_;
    Run run_;
};

template <class... T>
std::vector<std::size_t> scratchOf(const std::tuple<T...>* /*operands*/) {
    std::vector<std::size_t> indices;
    std::size_t index = 0;
    (..., (isScratch<T> ? indices.push_back(index++) : static_cast<void>(index++)));
    return indices;
}

/// A row of any guarantee. `make` gives a tuple of operands, `run` takes them.
template <class Make, class Run>
Row row(Guarantee guarantee, std::vector<std::string> operations, std::string state,
        std::vector<std::size_t> results, Make make, Run run) {
    using Operands = decltype(make());
    for (const std::size_t index : scratchOf(static_cast<const Operands*>(nullptr))) {
        results.push_back(index);
    }
    return {std::move(operations), std::move(state), guarantee, std::move(results),
            [make, run] { return std::make_unique<TupleTrial<Operands, Run>>(make(), run); }};
}

template <class Make, class Run>
Row strong(std::vector<std::string> operations, std::string state, Make make, Run run) {
    return row(Guarantee::strong, std::move(operations), std::move(state), {}, make, run);
}

template <class Make, class Run>
Row sized(std::vector<std::string> operations, std::string state, std::vector<std::size_t> results, Make make,
          Run run) {
    return row(Guarantee::sized, std::move(operations), std::move(state), std::move(results), make, run);
}

template <class Make, class Run>
Row rewritten(std::vector<std::string> operations, std::string state, std::vector<std::size_t> results,
              Make make, Run run) {
    return row(Guarantee::rewritten, std::move(operations), std::move(state), std::move(results), make, run);
}

template <class Make, class Run>
Row inPlace(std::vector<std::string> operations, std::string state, std::vector<std::size_t> results,
            Make make, Run run) {
    return row(Guarantee::inPlace, std::move(operations), std::move(state), std::move(results), make, run);
}

template <class Make, class Run>
Row cannotFail(std::vector<std::string> operations, std::string state, Make make, Run run) {
    return row(Guarantee::cannotFail, std::move(operations), std::move(state), {}, make, run);
}

/// Functions that need no operands from outside.
template <class Run>
Row cannotFail(std::vector<std::string> operations, Run run) {
    return cannotFail(
        std::move(operations), "", [] { return std::tuple<>(); }, run);
}

/// Adds the rows of `more`.
inline void append(std::vector<Row>& rows, std::vector<Row> more) {
    rows.insert(rows.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

/// The rows of each module.
std::vector<Row> coreRows();      // kavsys/ and kavstd/ but for the archive
std::vector<Row> archiveRows();   // kavstd/archive.h, exception.h, persistent.h
std::vector<Row> transformRows(); // filt/fft/
std::vector<Row> filterRows();    // filt/freqfilt/

[[nodiscard]] std::vector<Row> allRows();

} // namespace fault
