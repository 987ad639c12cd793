// A meter interface that knows one meter type: its name, its functions and its texts. Remembers what it is
// asked.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "MeterInterface/MeterInterface.h"
#include "MeterUtil/Text.h"

class FakeMeterType : public CMeterInterface {
public:
    static constexpr int kNameBytes = 40;
    static constexpr int kFunctionBytes = 256;

    bool m_isKnown = true;
    std::string m_name = "T1";
    std::vector<int> m_functions;                // at most kFunctionBytes
    bool m_terminates = true;                    // false: what it gives has no zero behind it
    std::map<std::string, std::string> m_texts;  // special data by key
    bool m_answersSpecialData = true;            // what GetSpecialData returns
    std::vector<std::string> m_calls;            // GetSpecialData only: KEY:BUFFER:SIZE

    bool OpenParser(int) override { return false; }
    bool SearchValue(char*, char*, int, char*) override { return false; }
    bool CloseParser() override { return false; }

    int GetActualMeterType(char* name) override {
        EXPECT_EQ(name, nullptr);
        return kType;
    }

    bool GetMeterType(int type, int* number, char* name, char* maker, unsigned char* functions) override {
        EXPECT_EQ(type, kType);
        EXPECT_EQ(number, nullptr);
        EXPECT_EQ(maker, nullptr);
        Fill(name, m_name, kNameBytes);
        Fill(functions, m_functions, kFunctionBytes);
        return m_isKnown;
    }

    bool GetSpecialData(char* key, void* buffer, int bufferLen, int* result) override {
        EXPECT_NE(result, nullptr);
        char* const text = static_cast<char*>(buffer);
        m_calls.push_back(std::string(key) + ':' + text + ':' + std::to_string(bufferLen));
        const auto found = m_texts.find(key);
        if (found != m_texts.end())
            Fill(text, found->second, bufferLen);
        key[0] = '?';
        *result = -1;
        return m_answersSpecialData;
    }

private:
    static constexpr int kType = 17;

    // Copies as much as there is room for; a zero follows when it terminates, and there is room.
    template <typename Char, typename Elements>
    void Fill(Char* dst, const Elements& elements, int size) const {
        const std::size_t room = static_cast<std::size_t>(size);
        const std::size_t count = std::min(elements.size(), room - (m_terminates ? 1 : 0));
        for (std::size_t i = 0; i < count; ++i)
            dst[i] = static_cast<Char>(elements[i]);
        if (m_terminates)
            dst[count] = 0;
    }
};
