// It searches all entries for every one that it sets, also while it loads: only small routes are given to it.
// It cannot remove a section together with its entries.
#include <iniparser/iniparser.h>

#include "bench/Contestants.h"
#include "bench/PeakMemory.h"
#include "bench/Workloads.h"

namespace Bench {
namespace {

constexpr const char* kName = "iniparser";
constexpr int kMostMeters = 500;

class IniParserStore {
public:
    static constexpr bool kFresh = false;
    static constexpr std::size_t kMost = 2000;

    explicit IniParserStore(const std::string& path) : m_entries(iniparser_load(path.c_str())) {}

    bool Find(const Query& query, char* dst, std::size_t size) {
        const char* const value = iniparser_getstring(m_entries.get(), query.joined.data(), nullptr);
        if (value == nullptr)
            return false;
        CopyValue(dst, size, value);
        return true;
    }
    bool Set(const Query& query, const std::string& value) {
        return iniparser_set(m_entries.get(), query.joined.data(), value.c_str()) == 0;
    }
    bool SaveTo(const std::string& path) {
        std::FILE* const file = std::fopen(path.c_str(), "wb");
        if (file == nullptr)
            return false;
        iniparser_dump_ini(m_entries.get(), file);
        return std::fclose(file) == 0;
    }

private:
    struct Free {
        void operator()(dictionary* entries) const { iniparser_freedict(entries); }
    };

    std::unique_ptr<dictionary, Free> m_entries;
};

void AddSmall(const char* row, const Measurement& measurement) {
    Add(row, kName, 3, measurement, kMostMeters);
}

}  // namespace

void AddIniParser() {
    AddSmall("load", Load<IniParserStore>);
    AddSmall("random", RandomLookup<IniParserStore>);
    AddSmall("local", LocalLookup<IniParserStore>);
    AddSmall("update", Update<IniParserStore>);
    AddSmall("insert", Insert<IniParserStore>);
    AddSmall("append-keys", AppendByEntry<IniParserStore>);
    AddSmall("save", SaveUnchanged<IniParserStore>);
    AddSmall("save-one", ChangeAndSave<IniParserStore>);
    AddPeakMemory(
        kName, [](const std::string& path) { KeepLoaded(IniParserStore(path)); }, kMostMeters);
}

}  // namespace Bench
