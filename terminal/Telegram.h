// The frame of a meter's readout: finds the telegram that counts in a file of received bytes and tells
// whether it is whole. It owns the rules of identification, start, end line and check codes; what stands in
// the data lines is Readout's.
//
//   /ABC5METER              identification; may be missing
//   <STX>                   start of the block; may be missing
//   1.8.0(000123.4*kWh)     data lines
//   !7C00                   end line; without STX it may carry a CRC
//   <ETX>f                  end of the block and its check character; may be missing
//
// The CRC is the CRC-16 (polynomial 8005, reflected, from 0) of everything from '/' up to and including '!',
// the check character the XOR of everything behind STX up to and including ETX.
#pragma once

#include <optional>
#include <string>
#include <string_view>

struct Telegram {
    std::string_view identification;  // what stands behind '/'; "" when it is missing
    std::string_view data;            // the data lines
};

// The last complete telegram of `bytes` (views into it). What was cut off before or behind it does not count,
// nor do bytes behind its end, the reader's own requests ("/?...!") and noise before its first character.
// Nothing, with the reason in `problem`, when no telegram is complete or the check code of the last one is
// wrong.
[[nodiscard]] std::optional<Telegram> FindTelegram(std::string_view bytes, std::string* problem);
