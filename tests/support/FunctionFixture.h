// A database with one meter whose record defines functions, and the interface that knows the meter's type.
#pragma once

#include <string>
#include <vector>

#include "tests/support/DatabaseFixture.h"
#include "tests/support/FakeMeterType.h"

class FunctionFixture : public DatabaseFixture {
protected:
    // The entries Func1, Func2 ... of functions with these codes, and one such entry.
    static std::string Functions(const std::vector<int>& codes) {
        std::string entries;
        for (std::size_t i = 0; i < codes.size(); ++i)
            entries += Function(static_cast<int>(i) + 1, "", std::to_string(codes[i]));
        return entries;
    }
    static std::string Function(int number, const std::string& definition, const std::string& code) {
        return "Func" + std::to_string(number) + "=,U," + definition + "," + code + ",\"\"\n";
    }

    // A meter whose main record holds `entries`; lines of `systemIni` before its first header belong to
    // "System". May be called again.
    void OpenMeter(const std::string& entries, const std::string& systemIni = {},
                   const std::string& state = "U") {
        m_database.SetIniFile(L"");
        Open("[General]\nMeters=1\n[#_1]\nState=" + state + "\n" + entries, systemIni, "[State]\nDirty=No\n");
    }

    FakeMeterType m_meter;
};
