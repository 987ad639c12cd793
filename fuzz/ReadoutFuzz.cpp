// Readouts of any bytes: each value that was found is found again by its names.
#include "fuzz/Script.h"
#include "terminal/Readout.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string problem;
    const std::optional<Readout> readout =
        Readout::Parse(std::string_view(reinterpret_cast<const char*>(data), size), &problem);
    Require(readout.has_value() == problem.empty(), "a readout that is not taken says why");
    if (!readout)
        return 0;
    Require(readout->Values().size() <= Readout::kMostValues, "a readout has not too many values");
    for (const ReadoutValue& value : readout->Values()) {
        Require(value.name.empty() || readout->Find(value.name) != nullptr, "a value is found by its name");
        Require(value.address.empty() || readout->Find(value.address) != nullptr,
                "a value is found by its address");
        Require(value.value.size() + value.unit.size() + value.time.size() <= size,
                "a value is what was sent");
    }
    return 0;
}
