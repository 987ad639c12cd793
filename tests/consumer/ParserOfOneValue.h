// A meter that answers with one register.
#pragma once

#include "MeterInterface/MeterInterface.h"

class ParserOfOneValue : public CMeterInterface {
public:
    bool OpenParser(int monthsSinceHistory) override;
    bool SearchValue(char* name, char* value, int valueSize, char* status) override;
    bool CloseParser() override;
    int GetActualMeterType(char* name) override;
    bool GetMeterType(int type, int* number, char* name, char* maker, unsigned char* functions) override;
    bool GetSpecialData(char* key, void* buffer, int bufferLen, int* result) override;
};
