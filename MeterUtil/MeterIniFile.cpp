// The public face of the store: pointers and sizes become views, exceptions become failed calls. Owns the
// rules of what is refused.
#include "MeterUtil/MeterIniFile.h"

#include <cstring>
#include <string>
#include <string_view>

#include "MeterUtil/IniSaver.h"
#include "MeterUtil/IniText.h"
#include "MeterUtil/Text.h"
#include "Platform/Platform.h"

namespace {

// Runs an operation; what it throws, for want of memory, is its failure.
template <typename Result, typename Operation>
Result Guarded(Result failure, Operation operation) noexcept {
    try {
        return operation();
    } catch (...) {
        return failure;
    }
}

}  // namespace

namespace MeterUtil {

class IniStore {
public:
    IniStore(const wchar_t* path, std::atomic<bool>* error);

    IniText text;
    SaveTarget target;
    std::wstring applicationPath;
    bool isLoaded = true;
    BackgroundSaver saver;
};

IniStore::IniStore(const wchar_t* path, std::atomic<bool>* error) {
    target.error = error;
    if (path != nullptr)
        target.path = path;
    Platform::FileBytes bytes;
    const auto scan = [this](std::string_view read, std::size_t expectedBytes) {
        return Guarded(false, [&] {
            text.Scan(read, expectedBytes);
            return true;
        });
    };
    const Platform::LoadResult result = Platform::LoadFile(target.path, &bytes, IniText::kMostBytes, scan);
    if (result == Platform::LoadResult::Loaded)
        text.Load(std::move(bytes));
    else
        text = IniText();
    isLoaded = result == Platform::LoadResult::Loaded || result == Platform::LoadResult::Missing;
    *error = !isLoaded;
}

}  // namespace MeterUtil

namespace {

using MeterText::CopyText;
using MeterText::View;
using MeterUtil::IniText;

// A text of 2 GiB and more is refused: lines and sizes of the interface are ints.
constexpr std::size_t kMostLineBytes = 0x7FFFFFFF;

// Takes a text of the caller that must stay one line; null counts as empty. False when it would not, or is
// too long. The text is passed over once.
bool TakeLine(const char* text, std::string_view* taken) {
    text = text == nullptr ? "" : text;
    *taken = {text, std::strcspn(text, "\r\n")};
    return text[taken->size()] == '\0' && taken->size() < kMostLineBytes;
}

// False for what no entry has as its key.
bool MayBeKey(std::string_view key) {
    return !key.empty() && !MeterText::Contains(key, '=');
}

// False for a name that must not be written although a loaded file may have it.
bool MayBeWritten(std::string_view name) {
    return !name.empty() && name.size() < kMostLineBytes && !MeterText::Contains(name, '\r');
}

bool MayBeWrittenAsKey(std::string_view key) {
    return MayBeWritten(key) && MayBeKey(key) && key.front() != '[' && key.front() != ';';
}

// False for names that may be written, but that no line has: a new one would not be read with them again.
bool MayBeAdded(std::string_view section, std::string_view key) {
    return !MeterText::ContainsAny(section, "\n]") && !MeterText::Contains(key, '\n');
}

// A first line that begins like this would have no text there once it is loaded again.
bool BeginsWithByteOrderMark(std::string_view text) {
    return text.substr(0, 3) == "\xEF\xBB\xBF";
}

// Keeps a text of the caller. False, and the earlier one stays, without memory.
bool Keep(std::wstring* kept, const wchar_t* text) {
    return Guarded(false, [&] {
        *kept = text == nullptr ? L"" : text;
        return true;
    });
}

// A store that could not load its file never saves over it; who asked for the save is told.
bool IsSavable(const MeterUtil::IniStore* store) {
    if (store != nullptr && store->isLoaded)
        return true;
    static const MeterUtil::SaveTarget unknown;
    MeterUtil::ReportFailedSave(store == nullptr ? unknown : store->target);
    return false;
}

IniText::Section FindSection(const MeterUtil::IniStore* store, const char* name) {
    return store == nullptr || name == nullptr ? IniText::kNoSection : store->text.FindSection(name);
}

}  // namespace

CMeterIniFile::CMeterIniFile(const wchar_t* path) : m_error(false), m_store(nullptr) {
    m_store = Guarded<MeterUtil::IniStore*>(nullptr, [&] { return new MeterUtil::IniStore(path, &m_error); });
    if (m_store == nullptr)
        m_error = true;
}

CMeterIniFile::~CMeterIniFile() {
    delete m_store;
}

// ---- look-ups

bool CMeterIniFile::ReadString(const char* section, const char* key, char* dst, int size) const {
    CopyText(dst, size, {});
    if (m_store == nullptr || section == nullptr || key == nullptr)
        return false;
    return Guarded(false, [&] {
        const std::string_view name = MeterText::TrimBlanks(key);
        const IniText::FoundEntry found = m_store->text.Find(m_store->text.Seek(section, name));
        if (found.index == MeterUtil::kNoIndex || (!found.isPlain && !MayBeKey(name)))
            return false;
        CopyText(dst, size, m_store->text.ValueOf(found));
        return true;
    });
}

bool CMeterIniFile::ReadByIndex(const char* section, int index, char* key, int keySize, char* value,
                                int valueSize) const {
    CopyText(key, keySize, {});
    CopyText(value, valueSize, {});
    const IniText::Section found = FindSection(m_store, section);
    if (found == IniText::kNoSection || index < 1)
        return false;
    return Guarded(false, [&] {
        std::string_view foundKey;
        std::string_view foundValue;
        if (!m_store->text.EntryAt(found, static_cast<std::uint32_t>(index) - 1, &foundKey, &foundValue))
            return false;
        CopyText(key, keySize, foundKey);
        CopyText(value, valueSize, foundValue);
        return true;
    });
}

bool CMeterIniFile::ReadLineByIndex(const char* section, int index, char* dst, int size) const {
    CopyText(dst, size, {});
    const IniText::Section found = FindSection(m_store, section);
    std::string_view text;
    if (found == IniText::kNoSection || index < 1 ||
        !m_store->text.LineOfSection(found, static_cast<std::uint32_t>(index) - 1, &text))
        return false;
    CopyText(dst, size, text);
    return true;
}

bool CMeterIniFile::GetString(int line, char* dst, int size) const {
    CopyText(dst, size, {});
    std::string_view text;
    if (m_store == nullptr || line < 0 || !m_store->text.LineAt(static_cast<std::uint32_t>(line), &text))
        return false;
    CopyText(dst, size, text);
    return true;
}

int CMeterIniFile::FindBracketLine(int line) const {
    if (m_store == nullptr || line < 0)
        return -1;
    const std::uint32_t found = m_store->text.FindBracketLine(static_cast<std::uint32_t>(line));
    return found == m_store->text.LineCount() ? -1 : static_cast<int>(found);
}

bool CMeterIniFile::SectionExists(const char* section) const {
    return FindSection(m_store, section) != IniText::kNoSection;
}

// ---- edits

bool CMeterIniFile::WriteString(const char* section, const char* key, const char* value) {
    if (m_store == nullptr || section == nullptr || key == nullptr)
        return false;
    return Guarded(false, [&] {
        // The line of the entry is on its way while the value is looked at.
        IniText& text = m_store->text;
        const std::string_view sectionName = section;
        const std::string_view keyName = MeterText::TrimBlanks(key);
        const IniText::SoughtEntry sought = text.Seek(sectionName, keyName);
        std::string_view newValue;
        if (!TakeLine(value, &newValue))
            return false;
        const IniText::FoundEntry found = text.Find(sought);
        if (!found.isPlain && !(MayBeWritten(sectionName) && MayBeWrittenAsKey(keyName)))
            return false;
        if (found.index != MeterUtil::kNoIndex) {
            text.SetValue(found, newValue);
            return true;
        }
        if (!MayBeAdded(sectionName, keyName))
            return false;
        if (sought.section != IniText::kNoSection)
            text.AddEntry(sought.section, keyName, newValue);
        else
            text.AddSection(sectionName, keyName, newValue);
        return true;
    });
}

bool CMeterIniFile::SetString(int line, const char* text) {
    std::string_view newText;
    if (m_store == nullptr || line < 0 || static_cast<std::uint32_t>(line) >= m_store->text.LineCount() ||
        !TakeLine(text, &newText) || (line == 0 && BeginsWithByteOrderMark(newText)))
        return false;
    return Guarded(false, [&] {
        m_store->text.SetLine(static_cast<std::uint32_t>(line), newText);
        return true;
    });
}

int CMeterIniFile::AppendString(const char* text) {
    std::string_view newText;
    if (m_store == nullptr || !TakeLine(text, &newText) ||
        (m_store->text.LineCount() == 0 && BeginsWithByteOrderMark(newText)))
        return -1;
    return Guarded(-1, [&] {
        m_store->text.AppendLine(newText);
        return static_cast<int>(m_store->text.LineCount() - 1);
    });
}

bool CMeterIniFile::DeleteSection(const char* section) {
    const IniText::Section found = FindSection(m_store, section);
    if (found == IniText::kNoSection)
        return false;
    return Guarded(false, [&] {
        m_store->text.DeleteSection(found);
        return true;
    });
}

bool CMeterIniFile::DeleteKey(const char* section, const char* key) {
    const IniText::Section found = FindSection(m_store, section);
    if (found == IniText::kNoSection || key == nullptr)
        return false;
    const std::string_view name = MeterText::TrimBlanks(key);
    if (!MayBeKey(name))
        return false;
    return Guarded(false, [&] { return m_store->text.DeleteKey(found, name); });
}

bool CMeterIniFile::BackupSection(const char* section) {
    const IniText::Section found = FindSection(m_store, section);
    if (found == IniText::kNoSection)
        return false;
    return Guarded(false, [&] {
        m_store->text.KeepCopy(found);
        return true;
    });
}

bool CMeterIniFile::RestoreSection(const char* section) {
    if (m_store == nullptr || section == nullptr)
        return false;
    return Guarded(false, [&] { return m_store->text.RestoreCopy(section); });
}

// ---- saving

bool CMeterIniFile::UpdateFile() {
    if (!IsSavable(m_store) || m_store->saver.IsItsThread())
        return false;
    m_store->saver.Wait();
    return SaveText(m_store->target, m_store->text);
}

bool CMeterIniFile::UpdateFileBackground() {
    if (!IsSavable(m_store) || m_store->saver.IsItsThread())
        return false;
    const bool arranged = Guarded(false, [&] {
        m_store->saver.Save(m_store->target, m_store->text.Snapshot());
        return true;
    });
    // Better late than not at all: without memory for a snapshot the caller waits.
    if (!arranged)
        UpdateFile();
    return true;
}

void CMeterIniFile::SetMirror(const wchar_t* path) {
    // Saves that leave the mirror out would pass for complete.
    if (m_store != nullptr && !Keep(&m_store->target.mirror, path))
        m_error = true;
}

bool CMeterIniFile::PowerButtonControl(const wchar_t* path) {
    if (m_store != nullptr)
        Keep(&m_store->applicationPath, path);
    return true;
}

void CMeterIniFile::SetSaveErrorText(const wchar_t* text) {
    if (m_store != nullptr)
        Keep(&m_store->target.errorText, text);
}

const wchar_t* CMeterIniFile::GetSaveErrorText() const {
    return m_store == nullptr ? L"" : m_store->target.errorText.c_str();
}

void CMeterIniFile::SetSaveErrorHandler(SaveErrorHandler handler, void* context) {
    MeterUtil::SetSaveErrorHandler(handler, context);
}

// ---- helpers

bool CMeterIniFile::FileExists(const wchar_t* path) {
    return path != nullptr && Platform::FileExists(path);
}

void CMeterIniFile::EliminateQuotes(char* text) {
    if (text == nullptr)
        return;
    const std::string_view bare = MeterText::WithoutQuotes(text);
    CopyText(text, static_cast<int>(bare.size()) + 1, bare);
}

char* CMeterIniFile::ExtractTokenDelimitedBy(const char* source, char* dst, int dstSize, int index,
                                             const char* delimiters) {
    if (dst == nullptr || dstSize < 1)
        return nullptr;
    const std::int64_t number = index < 0 ? -std::int64_t{index} : index;
    std::string_view token;
    const bool found = MeterText::FindToken(View(source), number, View(delimiters), &token);
    CopyText(dst, dstSize, token);
    return found ? dst : nullptr;
}
