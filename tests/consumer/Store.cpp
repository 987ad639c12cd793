// Uses the text store alone.
#include <cstdio>
#include <cstring>

#include "MeterUtil/MeterIniFile.h"

int main() {
    char value[40] = "";
    {
        CMeterIniFile store(L"store.ini");
        if (!store.WriteString("General", "Meters", "0") || !store.UpdateFile())
            return 1;
    }
    const CMeterIniFile store(L"store.ini");
    const bool read = store.ReadString("General", "Meters", value, sizeof(value));
    const bool right = read && std::strcmp(value, "0") == 0 && !store.m_error;
    std::printf("Meters=%s\n", value);
    return right ? 0 : 1;
}
