// The workloads that several contestants run in the same way, as templates over the contestant, and the list
// of what is measured. Only the work itself is timed: names, values and copies of files are made before.
//
// A contestant is a class that loads a file in its constructor and has the operations that its library
// offers, by these names; a workload is added to the list only for contestants that have its operation.
//
//     static constexpr bool kFresh             true: every repetition loads anew; false: one load for all
//     static constexpr std::size_t kMost       most operations of a repetition, for slow ones
//     explicit C(const std::string& path)
//     bool Find(const Query& query, char* dst, std::size_t size)
//     bool EntryAt(const char* section, int index, char* key, char* value, std::size_t size)    index from 1
//     bool LineAt(std::size_t line, char* dst, std::size_t size)                                 line from 0
//     bool Set(const Query& query, const std::string& value)
//     bool DeleteSection(const char* section)
//     bool SaveTo(const std::string& path)
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "bench/Clock.h"
#include "bench/Route.h"

namespace Bench {

// ---- the list

// What one repetition took. No operations: it failed.
struct Measured {
    double seconds = 0;
    std::size_t operations = 0;
    std::size_t bytes = 0;  // handled by all operations; or held, where memory is measured
};

using Measurement = std::function<Measured(Route&)>;

// Adds a measurement of one contestant to a row of the table. `repetitions`: the median of so many is taken.
// `mostMeters`: the largest route that the contestant is given unless it is named.
void Add(const char* row, const char* contestant, int repetitions, Measurement measurement,
         int mostMeters = INT_MAX);

// Has something that was kept for the present route dropped when its turn is over.
void AtEndOfRoute(std::function<void()> drop);

constexpr const char* kOurs = "ours";
constexpr const char* kFloor = "floor";

// ---- tools

// Runs operation(i) for i below `count`, timed. Every one must succeed.
template <typename Operation>
Measured Timed(std::size_t count, Operation operation) {
    std::size_t done = 0;
    const Stopwatch<> watch;
    for (std::size_t i = 0; i < count; ++i)
        done += operation(i) ? 1U : 0U;
    const double seconds = watch.Seconds();
    return {seconds, done == count ? count : 0, 0};
}

constexpr std::size_t kValueBytes = 256;

// A bounded copy into a caller's buffer: what a look-up ends with.
inline void CopyValue(char* dst, std::size_t size, std::string_view value) {
    const std::size_t copied = std::min(value.size(), size - 1);
    std::memcpy(dst, value.data(), copied);
    dst[copied] = '\0';
}

// A contestant with the route loaded: a fresh one, or the one kept for this route.
template <typename Store>
class Loaded {
public:
    explicit Loaded(const Route& route) {
        if (Store::kFresh)
            m_own = std::make_unique<Store>(route.Path());
        else if (Kept() == nullptr)
            Keep(std::make_unique<Store>(route.Path()));
    }

    Store* operator->() { return Store::kFresh ? m_own.get() : Kept().get(); }

    static void Keep(std::unique_ptr<Store> store) {
        if (Kept() == nullptr)
            AtEndOfRoute([] { Kept().reset(); });
        Kept() = std::move(store);
    }

private:
    static std::unique_ptr<Store>& Kept() {
        static std::unique_ptr<Store> kept;
        return kept;
    }

    std::unique_ptr<Store> m_own;
};

// ---- workloads

template <typename Store>
Measured Load(Route& route) {
    if (!Store::kFresh)
        Loaded<Store>::Keep(nullptr);
    const Stopwatch<> watch;
    auto store = std::make_unique<Store>(route.Path());
    const double seconds = watch.Seconds();
    if (!Store::kFresh)
        Loaded<Store>::Keep(std::move(store));
    return {seconds, 1, route.Bytes()};
}

template <typename Store>
Measured Look(Loaded<Store>& store, const std::vector<Query>& queries) {
    char value[kValueBytes];
    return Timed(std::min(queries.size(), Store::kMost), [&](std::size_t i) {
        const bool found = store->Find(queries[i], value, sizeof value);
        benchmark::DoNotOptimize(value);
        return found;
    });
}

template <typename Store>
Measured RandomLookup(Route& route) {
    Loaded<Store> store(route);
    return Look(store, route.Random());
}

// The same queries a second time.
template <typename Store>
Measured RandomLookupAgain(Route& route) {
    Loaded<Store> store(route);
    Look(store, route.Random());
    return Look(store, route.Random());
}

template <typename Store>
Measured LocalLookup(Route& route) {
    Loaded<Store> store(route);
    return Look(store, route.Local());
}

// All entries of record after record.
template <typename Store>
Measured EntriesByIndex(Route& route) {
    Loaded<Store> store(route);
    const std::size_t entries = RecordKeys().size();
    const std::size_t records = std::min(static_cast<std::size_t>(route.Meters()), Store::kMost / entries);
    std::vector<std::string> sections;
    for (std::size_t i = 0; i < records; ++i)
        sections.push_back(RecordSection(static_cast<int>(i) + 1));
    char key[kValueBytes];
    char value[kValueBytes];
    return Timed(records * entries, [&](std::size_t i) {
        const bool found = store->EntryAt(sections[i / entries].c_str(), static_cast<int>(i % entries) + 1,
                                          key, value, kValueBytes);
        benchmark::DoNotOptimize(value);
        return found;
    });
}

template <typename Store>
Measured LinesInOrder(Route& route) {
    Loaded<Store> store(route);
    char text[kValueBytes];
    return Timed(route.Lines(), [&](std::size_t i) {
        const bool found = store->LineAt(i, text, sizeof text);
        benchmark::DoNotOptimize(text);
        return found;
    });
}

template <typename Store>
Measured LinesAnywhere(Route& route) {
    Loaded<Store> store(route);
    const std::vector<std::size_t>& lines = route.RandomLines();
    char text[kValueBytes];
    return Timed(lines.size(), [&](std::size_t i) {
        const bool found = store->LineAt(lines[i], text, sizeof text);
        benchmark::DoNotOptimize(text);
        return found;
    });
}

template <typename Store>
Measured UpdateEntries(Store& store, Route& route) {
    const std::vector<Query>& queries = route.Random();
    return Timed(std::min(Route::kUpdates, Store::kMost),
                 [&](std::size_t i) { return store.Set(queries[i], route.NewValue(i)); });
}

template <typename Store>
Measured Update(Route& route) {
    Loaded<Store> store(route);
    return UpdateEntries(*store.operator->(), route);
}

template <typename Store>
Measured Insert(Route& route) {
    static int round = 0;
    const std::unique_ptr<Queries> inserts = route.Inserts(++round);
    const std::vector<Query>& queries = inserts->All();
    Loaded<Store> store(route);
    return Timed(std::min(queries.size(), Store::kMost),
                 [&](std::size_t i) { return store->Set(queries[i], route.NewValue(i)); });
}

constexpr int kAppended = 1000;  // records

// Records behind the last one, entry by entry.
template <typename Store>
Measured AppendByEntry(Route& route) {
    static int next = 1000000;
    Queries entries;
    for (const int end = next + std::min(kAppended, static_cast<int>(Store::kMost / 60)); next < end; ++next)
        for (const std::string& key : RecordKeys())
            entries.Add(RecordSection(next), key);
    const std::vector<Query>& queries = entries.All();
    Loaded<Store> store(route);
    return Timed(queries.size(), [&](std::size_t i) { return store->Set(queries[i], route.NewValue(i)); });
}

constexpr int kDeleted = 10;  // records

// Records with their appendices, others in each round.
template <typename Store>
Measured DeleteRecords(Route& route) {
    static int next = 0;
    std::vector<std::string> sections;
    for (int i = 0; i < kDeleted; ++i) {
        // 37 and the sizes of routes have no common divisor: no record comes twice.
        const int meter = static_cast<int>(37LL * next++ % route.Meters()) + 1;
        sections.push_back(RecordSection(meter));
        sections.push_back(AppendixSection(meter));
    }
    Loaded<Store> store(route);
    Measured measured =
        Timed(sections.size(), [&](std::size_t i) { return store->DeleteSection(sections[i].c_str()); });
    measured.operations /= 2;
    return measured;
}

template <typename Store>
Measured Save(Store& store, Route& route) {
    const std::string path = route.Directory() + "/saved.ini";
    const Stopwatch<> watch;
    const bool saved = store.SaveTo(path);
    return {watch.Seconds(), saved ? 1U : 0U, route.Bytes()};
}

template <typename Store>
Measured SaveUnchanged(Route& route) {
    Loaded<Store> store(route);
    return Save(*store.operator->(), route);
}

template <typename Store>
Measured ChangeAndSave(Route& route) {
    Loaded<Store> store(route);
    const std::string path = route.Directory() + "/saved.ini";
    const Query query = route.Random().front();
    const Stopwatch<> watch;
    const bool saved = store->Set(query, route.NewValue(0)) && store->SaveTo(path);
    return {watch.Seconds(), saved ? 1U : 0U, route.Bytes()};
}

template <typename Store>
Measured SaveAfterUpdates(Route& route) {
    Loaded<Store> store(route);
    UpdateEntries(*store.operator->(), route);
    return Save(*store.operator->(), route);
}

}  // namespace Bench
