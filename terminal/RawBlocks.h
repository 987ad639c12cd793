// The blocks of a raw data archive in the order in which they stand in it, found in one pass over its bytes:
// an archive of any size needs the memory of a few markers.
#pragma once

#include <cstdint>
#include <cstdio>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class BlockScanner {
public:
    // Begins where `archive` is positioned. It must outlive the scanner; whether reading failed is shown by
    // its error mark.
    explicit BlockScanner(std::FILE* archive) : m_archive(archive) {}

    // Hands over the bytes up to the next marker, piece by piece, and goes behind it. The name in the marker;
    // nothing at the end of the archive. A block that was left half written is passed over.
    std::optional<std::string> Next(const std::function<void(std::string_view)>& content);

private:
    void Refill();

    std::FILE* m_archive;
    std::string m_window;
    std::size_t m_at = 0;  // where the window goes on
    bool m_ended = false;
};

struct RawBlock {
    std::string name;
    std::uint64_t bytes = 0;
};

std::vector<RawBlock> ListBlocks(std::FILE* archive);
