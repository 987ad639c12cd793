// The meter interface over a readout that was received earlier: the parser finds the values that the meter
// sent, whatever was asked of it. There is one kind of meter, the one that answered, and no function that
// could be run on it.
#pragma once

#include "MeterInterface/MeterInterface.h"
#include "terminal/Readout.h"

class ReadoutInterface : public CMeterInterface {
public:
    // `readout` must outlive the interface.
    explicit ReadoutInterface(const Readout& readout) : m_readout(readout) {}

    bool OpenParser(int monthsSinceHistory) override;

    // Gives values and times as the meter sent them. A text that `value` cannot hold whole is not given: a
    // part of a reading is another reading.
    bool SearchValue(char* name, char* value, int valueSize, char* status) override;

    bool CloseParser() override;

    static constexpr int kMeterType = 1;
    int GetActualMeterType(char* name) override;
    bool GetMeterType(int type, int* number, char* name, char* maker, unsigned char* functions) override;
    bool GetSpecialData(char* key, void* buffer, int bufferLen, int* result) override;

private:
    const Readout& m_readout;
};
