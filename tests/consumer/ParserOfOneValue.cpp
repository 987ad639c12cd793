#include "ParserOfOneValue.h"

#include <cstdio>
#include <cstring>

bool ParserOfOneValue::OpenParser(int) {
    return true;
}

bool ParserOfOneValue::SearchValue(char* name, char* value, int valueSize, char*) {
    if (std::strcmp(name, "1.8.0") != 0)
        return false;
    std::snprintf(value, static_cast<std::size_t>(valueSize), "%s", "4210.7");
    return true;
}

bool ParserOfOneValue::CloseParser() {
    return true;
}

int ParserOfOneValue::GetActualMeterType(char*) {
    return 1;
}

bool ParserOfOneValue::GetMeterType(int, int*, char*, char*, unsigned char*) {
    return false;
}

bool ParserOfOneValue::GetSpecialData(char*, void*, int, int*) {
    return false;
}
