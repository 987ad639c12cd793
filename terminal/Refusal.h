// How a command ends when it does not do what was asked: with one of the program's exit codes and a sentence.
#pragma once

#include <stdexcept>
#include <string>

enum ExitCode {
    kDone = 0,
    kRefused = 1,     // the data said no: an unknown meter, a damaged readout
    kWrongUse = 2,    // the command line makes no sense
    kFileFailed = 3,  // a file could not be read or saved
};

// Without a sentence what the command showed says it all.
class Refusal : public std::runtime_error {
public:
    Refusal(ExitCode code, const std::string& sentence) : std::runtime_error(sentence), m_code(code) {}

    ExitCode Code() const { return m_code; }

private:
    ExitCode m_code;
};
