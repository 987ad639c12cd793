#include "terminal/Fields.h"

#include <algorithm>
#include <array>

#include "MeterUtil/Text.h"

namespace {

constexpr int kTextBytes = 256;

using TextBuffer = std::array<char, kTextBytes>;

}  // namespace

Fields::Fields(CMeterDatabase& database) : m_database(database), m_variant(MeterTypeOf(database)) {
    for (const int kind : {kValues, kExtra, kStatistic}) {
        const int count = database.GetDataFields(nullptr, kind, m_variant.c_str());
        for (int index = 0; index < count; ++index) {
            TextBuffer name{};
            database.GetDataFieldName(kind, m_variant.c_str(), index, name.data(), kTextBytes);
            m_fields.push_back({kind, index, name.data()});
        }
    }
}

const Fields::Field* Fields::Find(const std::string& name) const {
    const auto found = std::find_if(m_fields.begin(), m_fields.end(), [&name](const Field& field) {
        return MeterText::EqualIgnoringCase(field.name, name);
    });
    return found == m_fields.end() ? nullptr : &*found;
}

ShownValue Fields::Show(const Field& field) const {
    TextBuffer label{};
    TextBuffer value{};
    TextBuffer mark{};
    m_database.GetDataField(nullptr, field.kind, m_variant.c_str(), field.index, label.data(), kTextBytes,
                            value.data(), kTextBytes, mark.data(), kTextBytes);
    return {label.data(), value.data(), mark.data()};
}

ShownValue Fields::Show(const Entry& entry) const {
    if (const Field* field = Find(entry.name))
        return Show(*field);
    return ShowUndeclared(entry);
}

ShownValue Fields::ShowUndeclared(const Entry& entry) const {
    TextBuffer value{};
    m_database.FormatValue(value.data(), entry.value.c_str(), entry.definition.c_str());
    return {"", value.data(), MarkOf(entry.status)};
}

bool Fields::Write(const Field& field, const std::string& value, const std::string& status) const {
    return m_database.SetDataFieldValue(field.kind, m_variant.c_str(), field.index, value.c_str(),
                                        status.c_str(), nullptr);
}

std::string MarkOf(const std::string& status) {
    if (MeterText::Contains(status, 'D'))
        return "ok.";
    if (MeterText::Contains(status, 'W'))
        return "?";
    return MeterText::Contains(status, 'C') ? "!" : "";
}
