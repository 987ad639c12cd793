// Reading a store from inside the database: whole texts instead of buffers.
#pragma once

#include <optional>
#include <string>

#include "MeterDatabase/ValueEntry.h"
#include "MeterUtil/MeterIniFile.h"
#include "MeterUtil/Text.h"

namespace MeterRecords {

constexpr int kNameBytes = 256;    // a key, a name, a sub-field; terminator included
constexpr int kEntryBytes = 4096;  // a whole entry

// Value of a key, cut to size - 1 bytes (size at most kEntryBytes); nothing when the key does not exist.
inline std::optional<std::string> ReadText(const CMeterIniFile& store, const char* section, const char* key,
                                           int size = kNameBytes) {
    char buffer[kEntryBytes];
    if (!store.ReadString(section, key, buffer, size))
        return std::nullopt;
    return std::string(buffer);
}

// The integer under a key whose text is read up to size - 1 bytes (size at most kNameBytes); 0 when the key
// does not exist.
inline int ReadNumber(const CMeterIniFile& store, const char* section, const char* key, int size) {
    char buffer[kNameBytes];
    return store.ReadString(section, key, buffer, size) ? MeterText::ToInt(buffer) : 0;
}

// The value entry under a key; nothing when the key does not exist.
inline std::optional<ValueEntry> ReadEntry(const CMeterIniFile& store, const std::string& section,
                                           const char* key) {
    char buffer[kEntryBytes];
    if (!store.ReadString(section.c_str(), key, buffer, kEntryBytes))
        return std::nullopt;
    return ValueEntry(buffer);
}

// Calls visit(key, text) for every entry of a section, in order, until it gives false. The visitor may write
// existing keys of the section.
template <typename Visitor>
void ForEachEntry(const CMeterIniFile& store, const std::string& section, Visitor visit) {
    char key[kNameBytes];
    char text[kEntryBytes];
    for (int index = 1; store.ReadByIndex(section.c_str(), index, key, kNameBytes, text, kEntryBytes);
         ++index)
        if (!visit(key, text))
            return;
}

}  // namespace MeterRecords
