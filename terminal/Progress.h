// How far a long work is: a bar on the terminal of a person, from the first second on, and nothing anywhere
// else. It goes when the work ends.
#pragma once

#include <chrono>
#include <string>

#include "terminal/Screen.h"

class Progress {
public:
    // `patience`: before a work is long.
    Progress(Screen& screen, std::string title,
             std::chrono::milliseconds patience = std::chrono::milliseconds(1000));
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // `share`: what is done, from 0 to 1.
    void Report(double share);

private:
    using Clock = std::chrono::steady_clock;

    Screen& m_screen;
    std::string m_title;
    Clock::time_point m_next;  // when the bar is drawn again
    bool m_isDrawn = false;
};
