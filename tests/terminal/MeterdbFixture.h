// The program on an installation in a folder of its own: a small route, its readouts, and what one run of the
// program wrote.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "terminal/Refusal.h"
#include "terminal/Terminal.h"
#include "tests/support/TestFolder.h"

// Puts the sample installation into a folder.
void CopySamples(const TestFolder& folder);

class Meterdb : public testing::Test {
protected:
    void SetUp() override;

    // Runs the program on the folder; files among the arguments are given by `File`. What it wrote is in
    // m_out and m_errors, stamps of time in m_out as "(now)", paths with '/'.
    int Run(std::vector<std::string> arguments, Screen::Style style = {});

    std::string File(const std::string& name) const { return (m_folder.Path() / name).generic_string(); }

    // A file of the folder, stamps of time as "(now)".
    std::string Read(const std::string& name) const;

    // The refused command with this sentence changed nothing.
    void ExpectRefusal(ExitCode code, std::vector<std::string> arguments, const std::string& sentence);

    // The command cannot save a file, says so, and changed nothing. Tried with the data file and the app
    // file.
    void ExpectFailedSaves(const std::vector<std::string>& arguments);

    static const char* const kRoute;
    static const char* const kGas;  // a readout of meter 1

    TestFolder m_folder;
    std::string m_out;
    std::string m_errors;
};
