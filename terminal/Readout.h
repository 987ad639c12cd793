// A meter's data readout, as IEC 62056-21 defines it: data sets `address(value*unit)(value*unit)...`, taken
// apart and found by the names that meter records use.
//
// Names. An address A-B:C.D.E*F is known as C.D.E: the medium and channel A-B: and the storage of current
// values (*255, or .255 as a fourth number) are dropped. Earlier values keep their number as C.D.E*01 (also
// written &01 or *1). A value is also found by its address as sent and with A-B: before its name; where two
// values share a name the first one has it.
//
// Values are kept as the meter sent them, leading zeros and signs included. Of several groups the first is
// the value, unless it is a time and a measured value follows. The time of a value is found as NAME-time.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

struct ReadoutValue {
    std::string address;  // as sent
    std::string name;     // as records call it
    std::string value;
    std::string unit;  // "" when the meter sent none
    std::string time;  // when it was measured, as sent; "" when the meter did not say
};

class Readout {
public:
    static constexpr std::size_t kMostBytes = std::size_t{64} << 20;  // of a file that is taken for a readout
    static constexpr std::size_t kMostValues = 100000;

    // Takes the last complete readout of a file apart. Nothing, with the reason in `problem`, when there is
    // none or it is damaged.
    [[nodiscard]] static std::optional<Readout> Parse(std::string_view bytes, std::string* problem);

    // What the meter calls itself: maker, speed and type, without the leading '/'; "" when it was not sent.
    const std::string& Identification() const { return m_identification; }

    const std::vector<ReadoutValue>& Values() const { return m_values; }

    // The value of a name, ignoring case; null when the meter did not send it.
    const ReadoutValue* Find(std::string_view name) const;

    // The text behind a name, the name of a time included; null when the meter did not send it.
    const std::string* FindText(std::string_view name) const;

private:
    std::string AddSets(std::string_view dataLines);
    void AddSet(std::string_view address, const std::vector<std::string_view>& groups);
    void Add(ReadoutValue value);

    std::string m_identification;
    std::vector<ReadoutValue> m_values;
    std::unordered_map<std::string, std::size_t> m_places;  // in m_values, by every name in small letters
};
