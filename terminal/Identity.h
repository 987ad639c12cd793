// Whether a readout comes from the meter that a record is about.
#pragma once

#include <string>
#include <vector>

#include "terminal/Readout.h"

enum class Identity {
    Same,
    Other,
    Unknown,  // the record or the readout has no number
};

// The numbers that a readout names its meters by, those of connected sub-meters included. Smart meters send
// them as hexadecimal codes of letters; they are given as letters.
std::vector<std::string> NumbersOf(const Readout& readout);

// Compares ignoring leading zeros and case. A number may also stand at the end of a longer one, behind the
// letters of its maker.
Identity CompareIdentity(const std::string& meterNumber, const Readout& readout);

// Two meter numbers are the same but for leading zeros and case.
bool SameNumber(std::string_view a, std::string_view b);
