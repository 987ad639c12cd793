// The meter interface over a readout that was received earlier and a type of meter that the terminal knows:
// the parser finds the values that the meter sent, whatever was asked of it, and the type tells what could
// be asked.
#pragma once

#include "MeterInterface/MeterInterface.h"
#include "terminal/MeterType.h"
#include "terminal/Readout.h"

class ReadoutInterface : public CMeterInterface {
public:
    // Both must outlive the interface.
    ReadoutInterface(const Readout& readout, const MeterType& type) : m_readout(readout), m_type(type) {}

    bool OpenParser(int monthsSinceHistory) override;

    // Gives values and times as the meter sent them. A text that `value` cannot hold whole is not given: a
    // part of a reading is another reading.
    bool SearchValue(char* name, char* value, int valueSize, char* status) override;

    bool CloseParser() override;

    static constexpr int kMeterType = 1;  // there is one: that of the meter
    int GetActualMeterType(char* name) override;
    bool GetMeterType(int type, int* number, char* name, char* maker, unsigned char* functions) override;
    bool GetSpecialData(char* key, void* buffer, int bufferLen, int* result) override;

private:
    const Readout& m_readout;
    const MeterType& m_type;
};
