// A meter interface whose parser knows a few values, and which remembers what the database asked it.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "MeterInterface/MeterInterface.h"
#include "MeterUtil/Text.h"

class FakeParser : public CMeterInterface {
public:
    std::map<std::string, std::string> m_answer;  // values by name
    std::string m_statusLeft;                     // what it leaves in the status; "": nothing
    std::vector<std::string> m_calls;             // OpenParser(n), NAME:STATUS, CloseParser

    bool OpenParser(int monthsSinceHistory) override {
        m_calls.push_back("OpenParser(" + std::to_string(monthsSinceHistory) + ")");
        return false;
    }

    bool SearchValue(char* name, char* value, int valueSize, char* status) override {
        m_calls.push_back(std::string(name) + ':' + status);
        const auto found = m_answer.find(name);
        MeterText::CopyText(status, 256, m_statusLeft.empty() ? std::string(status) : m_statusLeft);
        name[0] = '?';
        if (found == m_answer.end()) {
            MeterText::CopyText(value, valueSize, "no answer");
            return false;
        }
        MeterText::CopyText(value, valueSize, found->second);
        return true;
    }

    bool CloseParser() override {
        m_calls.push_back("CloseParser");
        return false;
    }

    int GetActualMeterType(char*) override { return 0; }
    bool GetMeterType(int, int*, char*, char*, unsigned char*) override { return false; }
    bool GetSpecialData(char*, void*, int, int*) override { return false; }
};
