// A made-up route: its meters, the records that they have in the data file, and the readouts that they would
// answer with. The same seed makes the same bytes on every system.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace Simulate {

struct Request {
    int meters = 0;
    std::uint64_t seed = 0;
    int done = 0;  // share of the meters that were read already, in percent
};

// Where the parts of the route go. Each is called in the order of the file.
struct Sink {
    std::function<void(const std::string& text)> route;  // a piece of the data file
    std::function<void(const std::string& name, const std::string& bytes)> readout;  // of a meter to be read
    std::function<void(double share)> progress;
};

void MakeRoute(const Request& request, const Sink& sink);

}  // namespace Simulate
