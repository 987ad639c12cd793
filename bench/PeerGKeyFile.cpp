#include <fcntl.h>
#include <glib.h>
#include <unistd.h>

#include "bench/Contestants.h"
#include "bench/PeakMemory.h"
#include "bench/Workloads.h"

namespace Bench {
namespace {

constexpr const char* kName = "GKeyFile";

class GKeyFileStore {
public:
    static constexpr bool kFresh = false;
    static constexpr std::size_t kMost = 100000;

    explicit GKeyFileStore(const std::string& path) {
        g_key_file_load_from_file(m_file.get(), path.c_str(), G_KEY_FILE_KEEP_COMMENTS, nullptr);
    }

    bool Find(const Query& query, char* dst, std::size_t size) {
        const std::unique_ptr<char, Free> value(
            g_key_file_get_value(m_file.get(), query.section, query.key, nullptr));
        if (value == nullptr)
            return false;
        CopyValue(dst, size, value.get());
        return true;
    }
    bool Set(const Query& query, const std::string& value) {
        g_key_file_set_value(m_file.get(), query.section, query.key, value.c_str());
        return true;
    }
    bool DeleteSection(const char* section) {
        return g_key_file_remove_group(m_file.get(), section, nullptr) != 0;
    }

    // Its own way of saving flushes; this one does not.
    bool SaveTo(const std::string& path) {
        gsize size = 0;
        const std::unique_ptr<char, Free> text(g_key_file_to_data(m_file.get(), &size, nullptr));
        const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        const bool written = write(file, text.get(), size) == static_cast<ssize_t>(size);
        return close(file) == 0 && written;
    }

private:
    struct Free {
        void operator()(char* text) const { g_free(text); }
        void operator()(GKeyFile* file) const { g_key_file_free(file); }
    };

    std::unique_ptr<GKeyFile, Free> m_file{g_key_file_new()};
};

}  // namespace

void AddGKeyFile() {
    Add("load", kName, 3, Load<GKeyFileStore>);
    Add("random", kName, 3, RandomLookup<GKeyFileStore>);
    Add("local", kName, 3, LocalLookup<GKeyFileStore>);
    Add("update", kName, 3, Update<GKeyFileStore>);
    Add("insert", kName, 3, Insert<GKeyFileStore>);
    Add("append-keys", kName, 3, AppendByEntry<GKeyFileStore>);
    Add("delete", kName, 3, DeleteRecords<GKeyFileStore>);
    Add("save", kName, 3, SaveUnchanged<GKeyFileStore>);
    Add("save-one", kName, 3, ChangeAndSave<GKeyFileStore>);
    Add("save-many", kName, 3, SaveAfterUpdates<GKeyFileStore>);
    AddPeakMemory(kName, [](const std::string& path) { KeepLoaded(GKeyFileStore(path)); });
}

}  // namespace Bench
