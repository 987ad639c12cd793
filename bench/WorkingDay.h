// A working day with the database: a route is opened, meters all over it are visited, and it is closed. And
// the operations on whole routes, each by itself.
#pragma once

#include <map>
#include <string>

namespace Bench {

constexpr int kVisits = 200;

// What the steps of one round took, by the names of their rows. Empty: something was not done as it should.
using StepSeconds = std::map<std::string, double>;

// Works on installations that it makes in a directory, of routes of `meters` meters. Steps are free of what
// loading and saving takes, which have steps of their own.
class WorkingDay {
public:
    WorkingDay(int meters, const std::string& directory);

    // One day. Seconds of a visit; of "load", "open" and "close" of the day.
    StepSeconds Work() const;

    // Seconds of a visit that are spent in the store, look-ups and edits alone.
    StepSeconds WorkInStore() const;

    // The operations on whole routes. Seconds of one header, entry or meter that each has to do with.
    StepSeconds Operate() const;

private:
    void Install() const;

    int m_meters;
    std::string m_directory;
    std::string m_route;
};

}  // namespace Bench
