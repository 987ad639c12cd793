// Texts are bytes: nothing is converted.
#define SI_NO_CONVERSION
#include <SimpleIni.h>

#include "bench/Contestants.h"
#include "bench/PeakMemory.h"
#include "bench/Workloads.h"

namespace Bench {
namespace {

constexpr const char* kName = "SimpleIni";

class SimpleIniStore {
public:
    static constexpr bool kFresh = false;
    static constexpr std::size_t kMost = 100000;

    explicit SimpleIniStore(const std::string& path) { m_ini.LoadFile(path.c_str()); }

    bool Find(const Query& query, char* dst, std::size_t size) {
        const char* const value = m_ini.GetValue(query.section, query.key);
        if (value == nullptr)
            return false;
        CopyValue(dst, size, value);
        return true;
    }
    bool Set(const Query& query, const std::string& value) {
        return m_ini.SetValue(query.section, query.key, value.c_str()) >= 0;
    }
    bool DeleteSection(const char* section) { return m_ini.Delete(section, nullptr, true); }
    bool SaveTo(const std::string& path) { return m_ini.SaveFile(path.c_str(), false) >= 0; }

private:
    CSimpleIniA m_ini{true, false, false};
};

// It searches all texts that were set for each that goes: records are deleted while there are none.
class UnchangedSimpleIni : public SimpleIniStore {
public:
    static constexpr bool kFresh = true;
    using SimpleIniStore::SimpleIniStore;
};

}  // namespace

void AddSimpleIni() {
    Add("load", kName, 3, Load<SimpleIniStore>);
    Add("random", kName, 3, RandomLookup<SimpleIniStore>);
    Add("local", kName, 3, LocalLookup<SimpleIniStore>);
    Add("update", kName, 3, Update<SimpleIniStore>);
    Add("insert", kName, 3, Insert<SimpleIniStore>);
    Add("append-keys", kName, 3, AppendByEntry<SimpleIniStore>);
    Add("delete", kName, 3, DeleteRecords<UnchangedSimpleIni>);
    Add("save", kName, 3, SaveUnchanged<SimpleIniStore>);
    Add("save-one", kName, 3, ChangeAndSave<SimpleIniStore>);
    Add("save-many", kName, 3, SaveAfterUpdates<SimpleIniStore>);
    AddPeakMemory(kName, [](const std::string& path) { KeepLoaded(SimpleIniStore(path)); });
}

}  // namespace Bench
