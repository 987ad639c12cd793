#include "terminal/Progress.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

constexpr std::chrono::milliseconds kStep{100};  // between two looks of the bar
constexpr int kBarColumns = 30;
constexpr const char* kEraseLine = "\r\x1B[K";

}  // namespace

Progress::Progress(Screen& screen, std::string title, std::chrono::milliseconds patience)
    : m_screen(screen), m_title(std::move(title)), m_next(Clock::now() + patience) {}

Progress::~Progress() {
    if (m_isDrawn)
        m_screen.Raw(kEraseLine, true);
}

void Progress::Report(double share) {
    if (!m_screen.ShowsProgress() || Clock::now() < m_next)
        return;
    m_next = Clock::now() + kStep;
    m_isDrawn = true;
    share = std::clamp(share, 0.0, 1.0);
    const auto full = static_cast<std::size_t>(std::lround(share * kBarColumns));
    const std::string bar = " [" + std::string(full, '#') + std::string(kBarColumns - full, '.') + "]";
    const std::string percent = " " + std::to_string(std::lround(share * 100)) + " %";
    const bool hasRoom = m_screen.HasRoomFor(m_title.size() + bar.size() + percent.size());
    m_screen.Raw(kEraseLine + m_title + (hasRoom ? bar : "") + percent, true);
}
