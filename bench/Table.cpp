#include "bench/Table.h"

#include <array>
#include <cstdio>
#include <cstring>

#include "bench/Workloads.h"

namespace Bench {
namespace {

constexpr const char* kMemoryRow = "memory";
constexpr const char* kEmbeddedDatabase = "SQLite";
constexpr std::array<const char*, 4> kLibraries = {"SimpleIni", "GKeyFile", "property_tree", "iniparser"};

Goal TimesFloor(double most, double mostOfLargeRoute) {
    return {Goal::Kind::TimesFloor, most, mostOfLargeRoute};
}

Goal Nanoseconds(double most, double mostOfLargeRoute) {
    return {Goal::Kind::Nanoseconds, most, mostOfLargeRoute};
}

// For what must not depend on the size of the route: as many times what it takes in the smallest one.
Goal TimesSmallestRoute(double most) {
    return {Goal::Kind::TimesSmallestRoute, most, most};
}

std::string Printed(const char* format, double number) {
    char text[64];
    std::snprintf(text, sizeof text, format, number);
    return text;
}

std::string FigureText(const Row& row, double figure) {
    const bool isMemory = std::strcmp(row.id, kMemoryRow) == 0;
    return isMemory && figure >= 0 ? Printed("%.2f MB", figure / 1e6) : DurationText(figure);
}

std::string RatioText(double figure, double floor) {
    return figure < 0 || floor <= 0 ? "" : Printed("%.2f x", figure / floor);
}

double MostOf(const Row& row, int meters) {
    return meters > kLargeRoute ? row.goal.mostOfLargeRoute : row.goal.most;
}

// The figures of one route.
class Results {
public:
    Results(const Recorder& recorder, int meters, int smallestRoute)
        : m_recorder(recorder), m_meters(meters), m_smallestRoute(smallestRoute) {}

    // Nanoseconds an operation, or bytes where memory is measured.
    double Figure(const Row& row, const std::string& contestant) const {
        return Figure(m_meters, row, contestant);
    }

    std::string BestLibrary(const Row& row) const {
        std::string best;
        for (const char* library : kLibraries) {
            const double figure = Figure(row, library);
            if (figure >= 0 && (best.empty() || figure < Figure(row, best)))
                best = library;
        }
        return best;
    }

    // The most that our figure may be; kNoFigure without a goal.
    double Limit(const Row& row) const {
        const double most = MostOf(row, m_meters);
        switch (row.goal.kind) {
            case Goal::Kind::None:
                return kNoFigure;
            case Goal::Kind::TimesFloor:
                return most * Figure(row, kFloor);
            case Goal::Kind::Nanoseconds:
                return most;
            case Goal::Kind::TimesSmallestRoute:
                return m_meters == m_smallestRoute ? kNoFigure : most * Figure(m_smallestRoute, row, kOurs);
        }
        return kNoFigure;
    }

    void Print(const Row& row) const;

private:
    double Figure(int meters, const Row& row, const std::string& contestant) const {
        const std::string name = NameOf(meters, row.id, contestant);
        const double perSecond = m_recorder.Median(name, "items_per_second");
        return perSecond > 0 ? 1e9 / perSecond : m_recorder.Median(name, kBytesCounter);
    }

    const Recorder& m_recorder;
    int m_meters;
    int m_smallestRoute;
};

std::string GoalText(const Row& row, int meters) {
    switch (row.goal.kind) {
        case Goal::Kind::None:
            return "";
        case Goal::Kind::TimesFloor:
            return Printed("%.2f x", MostOf(row, meters));
        case Goal::Kind::Nanoseconds:
            return FigureText(row, MostOf(row, meters));
        case Goal::Kind::TimesSmallestRoute:
            return Printed("%.0f x sm.", MostOf(row, meters));
    }
    return "";
}

std::string Verdict(double figure, double limit) {
    if (figure < 0 || limit < 0)
        return "";
    return figure <= limit ? "met" : Printed("MISSED +%.0f%%", (figure / limit - 1) * 100);
}

constexpr const char* kLineFormat = "%-34s %9s %9s %8s %8s %-12s  %-13s %9s %9s  %9s %9s\n";

void Results::Print(const Row& row) const {
    const double ours = Figure(row, kOurs);
    const double floor = Figure(row, kFloor);
    const std::string library = BestLibrary(row);
    const double best = Figure(row, library);
    const double database = Figure(row, kEmbeddedDatabase);
    std::printf(kLineFormat, row.title, FigureText(row, ours).c_str(), FigureText(row, floor).c_str(),
                RatioText(ours, floor).c_str(), GoalText(row, m_meters).c_str(),
                Verdict(ours, Limit(row)).c_str(), library.c_str(),
                library.empty() ? "" : FigureText(row, best).c_str(), RatioText(best, floor).c_str(),
                database < 0 ? "" : FigureText(row, database).c_str(), RatioText(database, floor).c_str());
}

}  // namespace

const std::vector<Row>& Rows() {
    static const std::vector<Row> rows = {
        {"load", "load", TimesFloor(1.2, 1.2)},
        {"random", "random lookup, just loaded", TimesFloor(0.5, 0.8)},
        {"random-again", "random lookup, second pass", TimesFloor(0.5, 0.8)},
        {"local", "local lookup", Nanoseconds(150, 200)},
        {"entry", "i-th entry of a section", Nanoseconds(150, 150)},
        {"line", "n-th line, in order", TimesFloor(2, 2)},
        {"line-anywhere", "n-th line, anywhere", TimesFloor(2, 2)},
        {"update", "update in place", TimesFloor(0.7, 1)},
        {"insert", "insert a new key", Nanoseconds(3000, 3000)},
        {"append", "append records, by line", Nanoseconds(80, 80)},
        {"append-keys", "append records, by key", {}},
        {"delete", "delete a record and its appendix", TimesSmallestRoute(4)},
        {"renumber", "renumber all records, each", TimesSmallestRoute(4)},
        {"save", "save, unchanged", TimesFloor(1.1, 1.1)},
        {"save-one", "one change and save", TimesFloor(1.1, 1.1)},
        {"save-many", "save after 300,000 changes", TimesFloor(2, 2)},
        {"background-one", "return of a background save", TimesFloor(0.5, 0.5)},
        {"background-many", "the same after 300,000 changes", TimesFloor(0.5, 0.5)},
        {"save-flushed", "one change and save, flushed", {}},
        {kMemoryRow, "memory, peak after load", TimesFloor(1.15, 1.15)},
    };
    return rows;
}

std::string NameOf(int meters, const std::string& row, const std::string& contestant) {
    return std::to_string(meters) + "/" + row + "/" + contestant;
}

void PrintTable(const Recorder& recorder, int meters, int smallestRoute, std::size_t bytes) {
    std::printf("\n%d meters, %.1f MB\n", meters, static_cast<double>(bytes) / 1e6);
    std::printf(kLineFormat, "", "ours", "floor", "ratio", "goal", "", "best library", "", "ratio",
                kEmbeddedDatabase, "ratio");
    const Results results(recorder, meters, smallestRoute);
    for (const Row& row : Rows())
        if (results.Figure(row, kOurs) >= 0)
            results.Print(row);
    std::fflush(stdout);
}

}  // namespace Bench
