#include "terminal/RawBlocks.h"

#include <algorithm>

namespace {

constexpr std::size_t kWindowBytes = std::size_t{1} << 16;
constexpr std::size_t kMarkerBytes = 255;                   // a longer marker is cut
constexpr std::string_view kMarkerStart = "\n<<<<<~~~~~(";  // behind a CR
constexpr std::string_view kMarkerEnd = ")~~~~~>>>>>\r\n";
constexpr std::size_t kNameAt = 1 + kMarkerStart.size();

struct Marker {
    std::string_view name;
    std::size_t bytes;
    bool isWhole;  // its CR, written last, is there: so is its block
};

// The marker that `text` begins with.
std::optional<Marker> MarkerAt(std::string_view text) {
    text = text.substr(0, kMarkerBytes);
    const bool isWhole = text.front() == '\r';
    if ((!isWhole && text.front() != '\0') || text.substr(1, kMarkerStart.size()) != kMarkerStart)
        return std::nullopt;
    const std::string_view behind = text.substr(kNameAt);
    const std::size_t end = behind.find(kMarkerEnd);
    const std::string_view name = behind.substr(0, end);
    if (name.find('\n') != std::string_view::npos)
        return std::nullopt;
    if (end != std::string_view::npos)
        return Marker{name, kNameAt + end + kMarkerEnd.size(), isWhole};
    return text.size() == kMarkerBytes ? std::optional(Marker{name, kMarkerBytes, isWhole}) : std::nullopt;
}

// Bytes at the beginning of `text`, which is not empty, behind which a marker can begin. What `text` ends
// with may be the beginning of one unless it `isLast`.
std::size_t BytesBeforeMarker(std::string_view text, bool isLast) {
    const std::size_t start = text.find(kMarkerStart, 2);
    if (start != std::string_view::npos)
        return start - 1;
    return isLast ? text.size() : text.size() - kMarkerStart.size();
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
    bool isTorn = false;
    while (true) {
        if (!m_ended && m_window.size() - m_at < kMarkerBytes)
            Refill();
        const std::string_view rest = std::string_view(m_window).substr(m_at);
        if (rest.empty())
            return std::nullopt;
        if (const std::optional<Marker> marker = MarkerAt(rest)) {
            m_at += marker->bytes;
            if (marker->isWhole)
                return std::string(marker->name);
            isTorn = true;
            continue;
        }
        const std::size_t bytes = BytesBeforeMarker(rest, m_ended);
        if (!isTorn)
            content(rest.substr(0, bytes));
        m_at += bytes;
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
