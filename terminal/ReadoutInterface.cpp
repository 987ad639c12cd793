#include "terminal/ReadoutInterface.h"

#include "MeterUtil/Text.h"

namespace {

constexpr int kTypeNameBytes = 40;
constexpr int kFunctionBytes = 256;
constexpr std::size_t kMakerLetters = 3;  // an identification begins with them

}  // namespace

bool ReadoutInterface::OpenParser(int /*monthsSinceHistory*/) {
    return true;
}

bool ReadoutInterface::SearchValue(char* name, char* value, int valueSize, char* /*status*/) {
    const std::string* found = m_readout.FindText(MeterText::View(name));
    if (found == nullptr || value == nullptr || valueSize < 1)
        return false;
    if (found->size() >= static_cast<std::size_t>(valueSize))
        return false;
    MeterText::CopyText(value, valueSize, *found);
    return true;
}

bool ReadoutInterface::CloseParser() {
    return true;
}

int ReadoutInterface::GetActualMeterType(char* name) {
    MeterText::CopyText(name, kTypeNameBytes, m_type.name);
    return kMeterType;
}

bool ReadoutInterface::GetMeterType(int type, int* number, char* name, char* maker,
                                    unsigned char* functions) {
    if (type != kMeterType)
        return false;
    if (number != nullptr)
        *number = kMeterType;
    MeterText::CopyText(name, kTypeNameBytes, m_type.name);
    MeterText::CopyText(maker, kMakerLetters + 1, m_readout.Identification());
    MeterText::CopyText(reinterpret_cast<char*>(functions), kFunctionBytes, m_type.functions);
    return true;
}

bool ReadoutInterface::GetSpecialData(char* key, void* buffer, int bufferLen, int* /*result*/) {
    for (const auto& [known, text] : m_type.texts) {
        if (known == MeterText::View(key)) {
            MeterText::CopyText(static_cast<char*>(buffer), bufferLen, text);
            return true;
        }
    }
    return false;
}
