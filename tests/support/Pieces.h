// Texts in pieces for tests: given as lists, and gathered again.
#pragma once

#include <algorithm>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Platform/Platform.h"

// The list must outlive it.
class PieceList final : public Platform::TextPieces {
public:
    explicit PieceList(const std::vector<std::string_view>& pieces) : m_pieces(pieces) {}

    bool HandTo(Platform::TextSink& sink) const override {
        return std::all_of(m_pieces.begin(), m_pieces.end(),
                           [&](std::string_view piece) { return sink.Take(piece); });
    }

private:
    const std::vector<std::string_view>& m_pieces;
};

inline bool ReplaceFile(const std::wstring& path, const std::vector<std::string_view>& pieces) {
    return Platform::ReplaceFile(path, PieceList(pieces));
}

// Has no room to gather anything: it is given each piece.
class PieceTaker final : public Platform::TextSink {
public:
    explicit PieceTaker(std::function<bool(std::string_view)> take) : m_take(std::move(take)) {}

private:
    bool TakeMore(std::string_view piece) override { return m_take(piece); }

    std::function<bool(std::string_view)> m_take;
};

inline std::vector<std::string_view> PiecesOf(const Platform::TextPieces& text) {
    std::vector<std::string_view> pieces;
    PieceTaker taker([&](std::string_view piece) {
        pieces.push_back(piece);
        return true;
    });
    text.HandTo(taker);
    return pieces;
}
