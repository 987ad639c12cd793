#include <boost/property_tree/ini_parser.hpp>
#include <boost/property_tree/ptree.hpp>

#include "bench/Contestants.h"
#include "bench/PeakMemory.h"
#include "bench/Workloads.h"

namespace Bench {
namespace {

constexpr const char* kName = "property_tree";

class PropertyTreeStore {
public:
    static constexpr bool kFresh = false;
    static constexpr std::size_t kMost = 100000;

    explicit PropertyTreeStore(const std::string& path) { boost::property_tree::read_ini(path, m_tree); }

    bool Find(const Query& query, char* dst, std::size_t size) {
        const auto section = m_tree.find(query.section);
        if (section == m_tree.not_found())
            return false;
        const auto entry = section->second.find(query.key);
        if (entry == section->second.not_found())
            return false;
        CopyValue(dst, size, entry->second.data());
        return true;
    }
    bool EntryAt(const char* section, int index, char* key, char* value, std::size_t size) {
        const auto found = m_tree.find(section);
        if (found == m_tree.not_found() || static_cast<std::size_t>(index) > found->second.size())
            return false;
        const auto entry = std::next(found->second.begin(), index - 1);
        CopyValue(key, size, entry->first);
        CopyValue(value, size, entry->second.data());
        return true;
    }
    bool Set(const Query& query, const std::string& value) {
        const auto found = m_tree.find(query.section);
        Tree& section =
            found == m_tree.not_found() ? m_tree.push_back({query.section, {}})->second : found->second;
        const auto entry = section.find(query.key);
        if (entry == section.not_found())
            section.push_back({query.key, Tree(value)});
        else
            entry->second.data() = value;
        return true;
    }
    bool DeleteSection(const char* section) { return m_tree.erase(section) != 0; }
    bool SaveTo(const std::string& path) {
        boost::property_tree::write_ini(path, m_tree);
        return true;
    }

private:
    using Tree = boost::property_tree::ptree;

    Tree m_tree;
};

}  // namespace

void AddPropertyTree() {
    Add("load", kName, 3, Load<PropertyTreeStore>);
    Add("random", kName, 3, RandomLookup<PropertyTreeStore>);
    Add("local", kName, 3, LocalLookup<PropertyTreeStore>);
    Add("entry", kName, 3, EntriesByIndex<PropertyTreeStore>);
    Add("update", kName, 3, Update<PropertyTreeStore>);
    Add("insert", kName, 3, Insert<PropertyTreeStore>);
    Add("append-keys", kName, 3, AppendByEntry<PropertyTreeStore>);
    Add("delete", kName, 3, DeleteRecords<PropertyTreeStore>);
    Add("save", kName, 3, SaveUnchanged<PropertyTreeStore>);
    Add("save-one", kName, 3, ChangeAndSave<PropertyTreeStore>);
    Add("save-many", kName, 3, SaveAfterUpdates<PropertyTreeStore>);
    AddPeakMemory(kName, [](const std::string& path) { KeepLoaded(PropertyTreeStore(path)); });
}

}  // namespace Bench
