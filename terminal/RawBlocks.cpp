#include "terminal/RawBlocks.h"

#include <algorithm>

namespace {

constexpr std::size_t kWindowBytes = std::size_t{1} << 16;
constexpr std::size_t kMarkerBytes = 255;  // a longer marker is cut
constexpr std::string_view kMarkerStart = "\r\n<<<<<~~~~~(";
constexpr std::string_view kMarkerEnd = ")~~~~~>>>>>\r\n";

struct Marker {
    std::string_view name;
    std::size_t bytes;
};

// The marker that `text` begins with.
std::optional<Marker> MarkerAt(std::string_view text) {
    text = text.substr(0, kMarkerBytes);
    if (text.substr(0, kMarkerStart.size()) != kMarkerStart)
        return std::nullopt;
    const std::string_view behind = text.substr(kMarkerStart.size());
    const std::size_t end = behind.find(kMarkerEnd);
    const std::string_view name = behind.substr(0, end);
    if (name.find('\n') != std::string_view::npos)
        return std::nullopt;
    if (end != std::string_view::npos)
        return Marker{name, kMarkerStart.size() + end + kMarkerEnd.size()};
    return text.size() == kMarkerBytes ? std::optional(Marker{name, kMarkerBytes}) : std::nullopt;
}

}  // namespace

void BlockScanner::Refill() {
    m_window.erase(0, m_at);
    m_at = 0;
    const std::size_t kept = m_window.size();
    m_window.resize(kWindowBytes);
    const std::size_t read = std::fread(&m_window[kept], 1, kWindowBytes - kept, m_archive);
    m_window.resize(kept + read);
    m_ended = m_window.size() < kWindowBytes;
}

std::optional<std::string> BlockScanner::Next(const std::function<void(std::string_view)>& content) {
    while (true) {
        if (!m_ended && m_window.size() - m_at < kMarkerBytes)
            Refill();
        const std::string_view rest = std::string_view(m_window).substr(m_at);
        if (rest.empty())
            return std::nullopt;
        if (const std::optional<Marker> marker = MarkerAt(rest)) {
            m_at += marker->bytes;
            return std::string(marker->name);
        }
        // What could be the beginning of a marker waits for the bytes behind it.
        const std::size_t searched = m_ended ? rest.size() : rest.size() - kMarkerStart.size() + 1;
        const std::size_t next = std::min(rest.find(kMarkerStart, 1), searched);
        content(rest.substr(0, next));
        m_at += next;
    }
}

std::vector<RawBlock> ListBlocks(std::FILE* archive) {
    BlockScanner scanner(archive);
    std::vector<RawBlock> blocks;
    std::optional<std::string> name = scanner.Next([](std::string_view) {});
    while (name) {
        blocks.push_back({*std::move(name)});
        name = scanner.Next([&](std::string_view bytes) { blocks.back().bytes += bytes.size(); });
    }
    return blocks;
}
