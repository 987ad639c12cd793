#include "terminal/Telegram.h"

#include <array>
#include <charconv>
#include <cstdint>
#include <cstdio>

#include "MeterUtil/Text.h"

namespace {

constexpr char kStx = '\x02';
constexpr char kEtx = '\x03';
constexpr std::string_view kLineEnds = "\r\n";

// Meters are woken with zeros and lines are noisy: what no line begins with is passed over.
bool IsNoise(char c) {
    return static_cast<unsigned char>(c) <= ' ' || static_cast<unsigned char>(c) >= 0x7F;
}

std::string Hex(const char* format, unsigned value) {
    std::array<char, 16> text{};
    static_cast<void>(std::snprintf(text.data(), text.size(), format, value));
    return text.data();
}

unsigned Crc16(std::string_view bytes) {
    unsigned crc = 0;
    for (const char c : bytes) {
        crc ^= static_cast<unsigned char>(c);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc & 1U) != 0 ? (crc >> 1) ^ 0xA001U : crc >> 1;
    }
    return crc;
}

unsigned char BlockCheck(std::string_view bytes) {
    unsigned check = 0;
    for (const char c : bytes)
        check ^= static_cast<unsigned char>(c);
    return static_cast<unsigned char>(check);
}

constexpr std::size_t kNone = std::string_view::npos;

// A telegram that has begun: places in the capture.
struct Open {
    std::size_t identification = kNone;  // of the '/'
    std::size_t data = 0;                // behind the identification line or STX
    bool hasStx = false;
    bool hasData = false;
};

// Walks the lines of a capture once and keeps the telegram that ended last.
class Scanner {
public:
    explicit Scanner(std::string_view bytes) : m_bytes(bytes) {}

    std::optional<Telegram> Run(std::string* problem);

private:
    void TakeLine(std::size_t end);
    std::size_t SkipNoise(std::size_t end);
    void BeginBlock(std::size_t stx);
    void BeginIdentification(std::size_t slash, std::size_t end);
    void TakeData(std::size_t begin, std::size_t end);
    void Finish(std::size_t mark, std::size_t lineEnd);
    std::string CheckEndLine(std::size_t mark, std::size_t lineEnd) const;
    std::string CheckBlock(std::size_t etx) const;
    std::size_t FindEndMark(std::size_t begin, std::size_t end) const;
    std::size_t FindEtx(std::size_t mark, std::size_t lineEnd) const;
    std::string WhyNone() const;

    std::string_view m_bytes;
    std::size_t m_next = 0;  // where the scan goes on
    std::optional<Open> m_open;
    std::optional<Telegram> m_last;
    std::string m_lastProblem;  // of m_last; "" when it is whole
};

std::optional<Telegram> Scanner::Run(std::string* problem) {
    while (m_next < m_bytes.size()) {
        const std::size_t end = m_bytes.find_first_of(kLineEnds, m_next);
        TakeLine(end == kNone ? m_bytes.size() : end);
    }
    *problem = m_last ? m_lastProblem : WhyNone();
    return problem->empty() ? m_last : std::nullopt;
}

void Scanner::TakeLine(std::size_t end) {
    const std::size_t begin = SkipNoise(end);
    m_next = end + 1;
    if (begin == end)
        return;
    if (m_bytes[begin] == '/')
        BeginIdentification(begin, end);
    else
        TakeData(begin, end);
}

std::size_t Scanner::SkipNoise(std::size_t end) {
    std::size_t at = m_next;
    for (; at < end && IsNoise(m_bytes[at]); ++at)
        if (m_bytes[at] == kStx)
            BeginBlock(at);
    return at;
}

void Scanner::BeginBlock(std::size_t stx) {
    // A block that begins behind data lines is another telegram, whose identification was lost.
    if (!m_open || m_open->hasData)
        m_open.emplace();
    m_open->data = stx + 1;
    m_open->hasStx = true;
}

void Scanner::BeginIdentification(std::size_t slash, std::size_t end) {
    m_open.reset();
    if (m_bytes.substr(slash, 2) == "/?")
        return;
    m_open.emplace();
    m_open->identification = slash;
    m_open->data = end;
    while (m_open->data < m_bytes.size() && MeterText::Contains(kLineEnds, m_bytes[m_open->data]))
        ++m_open->data;
}

void Scanner::TakeData(std::size_t begin, std::size_t end) {
    // Only the first telegram may lack its whole beginning: behind an end there may be anything.
    const bool isData = MeterText::Contains(m_bytes.substr(begin, end - begin), '(');
    if (!m_open && !m_last && isData) {
        m_open.emplace();
        m_open->data = begin;
    }
    if (!m_open)
        return;
    const std::size_t mark = FindEndMark(begin, end);
    if (mark == kNone)
        m_open->hasData = m_open->hasData || isData;
    else
        Finish(mark, end);
}

// The '!' of a line that stands in no value.
std::size_t Scanner::FindEndMark(std::size_t begin, std::size_t end) const {
    bool inValue = false;
    for (std::size_t at = begin; at < end; ++at) {
        const char c = m_bytes[at];
        if (c == '!' && !inValue)
            return at;
        if (c == '(' || c == ')')
            inValue = c == '(';
    }
    return kNone;
}

void Scanner::Finish(std::size_t mark, std::size_t lineEnd) {
    m_last.emplace();
    m_last->data = m_bytes.substr(m_open->data, mark - m_open->data);
    if (m_open->identification != kNone) {
        const std::string_view line = m_bytes.substr(m_open->identification + 1);
        m_last->identification = line.substr(0, line.find_first_of(kLineEnds));
    }
    const std::size_t etx = FindEtx(mark, lineEnd);
    if (etx != kNone)
        m_next = etx + 2;  // the check character may look like anything
    m_lastProblem = etx != kNone ? CheckBlock(etx) : CheckEndLine(mark, lineEnd);
    m_open.reset();
}

// ETX within the end line or behind it; between them only line ends, damaged ones included.
std::size_t Scanner::FindEtx(std::size_t mark, std::size_t lineEnd) const {
    const std::size_t inLine = m_bytes.substr(0, lineEnd).find(kEtx, mark);
    if (inLine != kNone)
        return inLine;
    std::size_t at = lineEnd;
    while (at < m_bytes.size() && IsNoise(m_bytes[at]) && m_bytes[at] != kEtx)
        ++at;
    return at < m_bytes.size() && m_bytes[at] == kEtx ? at : kNone;
}

std::string Scanner::CheckBlock(std::size_t etx) const {
    if (etx + 1 == m_bytes.size())
        return {};
    const unsigned computed = BlockCheck(m_bytes.substr(m_open->data, etx + 1 - m_open->data));
    const unsigned received = static_cast<unsigned char>(m_bytes[etx + 1]);
    if (received == computed)
        return {};
    return "its block check character is wrong: " + Hex("0x%02X", received) + " received, " +
           Hex("0x%02X", computed) + " computed";
}

std::string Scanner::CheckEndLine(std::size_t mark, std::size_t lineEnd) const {
    const std::string_view code = MeterText::TrimBlanks(m_bytes.substr(mark + 1, lineEnd - mark - 1));
    if (m_open->hasStx || code.empty())
        return {};
    if (m_open->identification == kNone)
        return "its beginning is missing: it has a CRC but no identification line";
    const unsigned computed =
        Crc16(m_bytes.substr(m_open->identification, mark + 1 - m_open->identification));
    unsigned received = 0;
    const std::from_chars_result read = std::from_chars(code.data(), code.data() + code.size(), received, 16);
    const bool isNumber = read.ec == std::errc() && read.ptr == code.data() + code.size();
    if (isNumber && code.size() <= 4 && received == computed)
        return {};
    return "its CRC is wrong: " + (isNumber && code.size() <= 4 ? Hex("%04X", received) : "no CRC") +
           " received, " + Hex("%04X", computed) + " computed";
}

std::string Scanner::WhyNone() const {
    if (m_bytes.empty())
        return "it is empty";
    if (!m_open)
        return "it holds no answer of a meter";
    return "it is cut off: the end line \"!\" is missing";
}

}  // namespace

std::optional<Telegram> FindTelegram(std::string_view bytes, std::string* problem) {
    return Scanner(bytes).Run(problem);
}
