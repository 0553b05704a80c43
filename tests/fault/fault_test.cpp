/// \file
/// Runs every row with every fault, and compares the rows with the functions that the headers declare.
#include "tests/fault/engine.h"
#include "tests/fault/public_functions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <iomanip>
#include <iostream>
#include <map>

namespace fault {

void PrintTo(const Row& row, std::ostream* stream) {
    *stream << row.operations.front() << " | " << row.state;
}

namespace {

constexpr long mostPoints = 5000; // Of one kind: beyond them an operation is taken to hang.

const char* nameOf(Guarantee guarantee) {
    switch (guarantee) {
    case Guarantee::strong:
        return "strong";
    case Guarantee::sized:
        return "sized";
    case Guarantee::rewritten:
        return "rewritten";
    case Guarantee::inPlace:
        return "in place";
    case Guarantee::absorbs:
        return "absorbs";
    case Guarantee::cannotFail:
        return "cannot fail";
    }
    return "";
}

const char* nameOf(Kind kind) {
    switch (kind) {
    case Kind::allocation:
        return "allocation";
    case Kind::allocationsFrom:
        return "allocations from";
    case Kind::cancellation:
        return "cancellation point";
    case Kind::primitive:
        return "archive primitive";
    }
    return "";
}

using Points = std::array<long, kinds.size()>;

/// The table that the program prints at its end: a line for each operation and guarantee.
class Table : public testing::Environment {
public:
    void add(const Row& row, const Points& points) {
        for (const std::string& operation : row.operations) {
            add(lines_[{operation, nameOf(row.guarantee)}], points);
        }
        add(sum_, points);
    }

    void TearDown() override {
        std::cout << "   allocation once, from; cancellation; primitive; states\n";
        for (const auto& [operation, line] : lines_) {
            print(line, operation.second, operation.first);
        }
        print(sum_, "", "all, each state once");
    }

private:
    struct Line {
        Points points{};
        long states = 0;
    };

    static void add(Line& line, const Points& points) {
        std::transform(points.begin(), points.end(), line.points.begin(), line.points.begin(), std::plus<>());
        ++line.states;
    }

    static void print(const Line& line, const std::string& guarantee, const std::string& operation) {
        for (const long points : line.points) {
            std::cout << std::setw(7) << points;
        }
        std::cout << std::setw(5) << line.states << "  " << std::left << std::setw(12) << guarantee
                  << std::right << operation << "\n";
    }

    std::map<std::pair<std::string, std::string>, Line> lines_;
    Line sum_;
};

Table& table() {
    static auto* const table = dynamic_cast<Table*>(testing::AddGlobalTestEnvironment(new Table));
    return *table;
}

class Fault : public testing::TestWithParam<Row> {
protected:
    const Row& row = GetParam();
    std::vector<std::string> reference; // After an undisturbed run.

    void SetUp() override {
        const auto trial = row.make();
        trial->run();
        reference = trial->observe();
    }

    [[nodiscard]] bool mayDiffer(const Trial& trial, std::size_t operand) const {
        const bool isResult = std::find(row.results.begin(), row.results.end(), operand) != row.results.end();
        return isResult && (row.guarantee != Guarantee::sized || trial.isUninitialized(operand));
    }

    void expectKept(const std::vector<std::string>& before, const Trial& trial) const {
        const std::vector<std::string> after = trial.observe();
        for (std::size_t i = 0; i < before.size(); ++i) {
            EXPECT_TRUE(before[i] == after[i] || mayDiffer(trial, i)) << "operand " << i << " has changed";
        }
    }

    void expectReference(const Trial& trial) const {
        const std::vector<std::string> after = trial.observe();
        for (std::size_t i = 0; i < reference.size(); ++i) {
            EXPECT_TRUE(reference[i] == after[i]) << "operand " << i << " is not as without a fault";
        }
    }

    /// One run with that point failing. Whether there is such a point.
    bool attempt(Kind kind, long k) const {
        const auto trial = row.make();
        const std::vector<std::string> before = trial->observe();
        const Outcome outcome = runWithFault(kind, k, [&] { trial->run(); });
        if (outcome.error) {
            EXPECT_TRUE(outcome.reached) << "failed by itself";
            EXPECT_EQ(strangeness(kind, k, outcome.error), "") << "came out instead";
            expectKept(before, *trial);
            repeat(*trial);
        } else if (row.guarantee == Guarantee::absorbs && outcome.reached) {
            expectKept(before, *trial);
        } else {
            expectReference(*trial); // It did without, or there was no such point.
        }
        return outcome.reached;
    }

    void repeat(Trial& trial) const {
        EXPECT_NE(row.guarantee, Guarantee::absorbs);
        if (row.guarantee == Guarantee::inPlace) {
            trial.assign(*row.make());
        }
        trial.run();
        expectReference(trial);
    }

    /// How many points of a kind the row has.
    long failEach(Kind kind) const {
        long k = 0;
        bool reached = true;
        while (reached && k < mostPoints && !HasFailure()) {
            const std::string trace = std::string(nameOf(kind)) + " " + std::to_string(k);
            SCOPED_TRACE(trace);
            const long living = livingAllocations();
            reached = attempt(kind, k);
            if (!HasFailure()) { // A reported failure stays allocated.
                EXPECT_EQ(living, livingAllocations()) << "leaked or released too often";
            }
            k += reached ? 1 : 0;
        }
        EXPECT_LT(k, mostPoints);
        return k;
    }
};

TEST_P(Fault, LeavesEverythingInOrder) {
    Points points{};
    for (const Kind kind : kinds) {
        points[static_cast<std::size_t>(kind)] = failEach(kind);
    }
    const bool canFail = std::any_of(points.begin(), points.end(), [](long count) { return count > 0; });
    EXPECT_EQ(canFail, row.guarantee != Guarantee::cannotFail);
    table().add(row, points);
}

std::string testName(const testing::TestParamInfo<Row>& info) {
    std::string name =
        std::to_string(info.index) + "_" + info.param.operations.front() + "_" + info.param.state;
    std::replace_if(
        name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(Row, Fault, testing::ValuesIn(allRows()), testName);

std::set<std::string> operationsOf(const std::vector<Row>& rows) {
    std::set<std::string> operations;
    for (const Row& row : rows) {
        operations.insert(row.operations.begin(), row.operations.end());
    }
    return operations;
}

TEST(FaultRows, CoverEveryPublicFunctionAndNothingElse) {
    const std::set<std::string> declared = publicFunctions(KAV_SOURCE_TREE);
    const std::set<std::string> covered = operationsOf(allRows());
    EXPECT_GT(declared.size(), 400U); // The scan works.
    for (const std::string& function : declared) {
        EXPECT_TRUE(covered.contains(function)) << "no row injects faults into " << function;
    }
    for (const std::string& operation : covered) {
        EXPECT_TRUE(declared.contains(operation)) << "no header declares " << operation;
    }
}

} // namespace

std::vector<Row> allRows() {
    std::vector<Row> rows = coreRows();
    append(rows, archiveRows());
    append(rows, transformRows());
    append(rows, filterRows());
    return rows;
}

} // namespace fault
