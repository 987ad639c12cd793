// It searches all entries for every one that it sets, also while it loads, and all of them for each section
// when it saves: the largest route, which takes it half an hour to load, is given to it only when it is
// named. It cannot remove a section together with its entries.
#include <iniparser/iniparser.h>

#include "bench/Contestants.h"
#include "bench/PeakMemory.h"
#include "bench/Workloads.h"

namespace Bench {
namespace {

constexpr const char* kName = "iniparser";
constexpr int kMostMeters = 2000;
constexpr int kMostMetersToSave = 500;  // what takes as long as loading once more

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

}  // namespace

void AddIniParser() {
    Add("load", kName, 1, Load<IniParserStore>, kMostMeters);
    Add("random", kName, 3, RandomLookup<IniParserStore>, kMostMeters);
    Add("local", kName, 3, LocalLookup<IniParserStore>, kMostMeters);
    Add("update", kName, 3, Update<IniParserStore>, kMostMeters);
    Add("insert", kName, 3, Insert<IniParserStore>, kMostMeters);
    Add("append-keys", kName, 3, AppendByEntry<IniParserStore>, kMostMeters);
    Add("save", kName, 1, SaveUnchanged<IniParserStore>, kMostMetersToSave);
    Add("save-one", kName, 1, ChangeAndSave<IniParserStore>, kMostMetersToSave);
    AddPeakMemory(
        kName, [](const std::string& path) { KeepLoaded(IniParserStore(path)); }, 1, kMostMetersToSave);
}

}  // namespace Bench
