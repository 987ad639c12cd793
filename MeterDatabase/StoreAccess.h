// Reading a store from inside the database: whole texts instead of buffers, and the way back into the buffers
// of the public members that hand out values.
#pragma once

#include <array>
#include <optional>
#include <string>

#include "MeterDatabase/ValueEntry.h"
#include "MeterUtil/MeterIniFile.h"
#include "MeterUtil/Text.h"

namespace MeterRecords {

constexpr int kNumberBytes = 20;  // a count or a client number, terminator included

// Sections of records: of a meter's main record, and of an appendix, whose number comes first.
inline std::string MeterSection(int meter) {
    return "#_" + std::to_string(meter);
}

inline std::string AppendixSection(int appendix, int meter) {
    return "#" + std::to_string(appendix) + "_" + std::to_string(meter);
}

// Value of a key, cut to size - 1 bytes (size at most kEntryBytes); nothing when the key does not exist.
inline std::optional<std::string> ReadText(const CMeterIniFile& store, const char* section, const char* key,
                                           int size = kNameBytes) {
    char buffer[kEntryBytes];
    if (!store.ReadString(section, key, buffer, size))
        return std::nullopt;
    return std::string(buffer);
}

// Takes a write back: gives a key the value that ReadText had found, or removes it when there was none.
inline void PutBack(CMeterIniFile& store, const char* section, const char* key,
                    const std::optional<std::string>& before) {
    if (before)
        store.WriteString(section, key, before->c_str());
    else
        store.DeleteKey(section, key);
}

// Value of a key without its enclosing quotes, then cut to size - 1 bytes (size at most kEntryBytes); empty
// when there is no store or no such key.
inline std::string ReadBareText(const CMeterIniFile* store, const std::string& section,
                                const std::string& key, int size) {
    if (store == nullptr)
        return {};
    const std::string text =
        ReadText(*store, section.c_str(), key.c_str(), kEntryBytes).value_or(std::string());
    return std::string(MeterText::WithoutQuotes(text).substr(0, static_cast<std::size_t>(size) - 1));
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
// existing keys of the section. Passed over is an entry that its name does not lead to, so that the visitor
// never writes one entry with what it saw of another: a later entry of the same name, or one whose name is
// cut here.
template <typename Visitor>
void ForEachEntry(const CMeterIniFile& store, const std::string& section, Visitor visit) {
    char key[kNameBytes];
    char text[kEntryBytes];
    for (int index = 1; store.ReadByIndex(section.c_str(), index, key, kNameBytes, text, kEntryBytes);
         ++index)
        if (ReadText(store, section.c_str(), key, kEntryBytes) == text && !visit(key, text))
            return;
}

// An output of a public member.
struct Output {
    char* buffer;
    int size;
};

// The outputs through which a public member hands out the sub-fields of a value, in their order.
using ValueOutputs = std::array<Output, kSubFields>;

template <std::size_t Count>
void Clear(const std::array<Output, Count>& outputs) {
    for (const Output& output : outputs)
        MeterText::CopyText(output.buffer, output.size, {});
}

inline void HandOut(const ValueEntry& entry, const ValueOutputs& outputs) {
    for (std::size_t field = 0; field < outputs.size(); ++field)
        MeterText::CopyText(outputs[field].buffer, outputs[field].size,
                            entry.Raw(static_cast<SubField>(field)));
}

}  // namespace MeterRecords
