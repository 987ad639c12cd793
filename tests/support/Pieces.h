// Texts in pieces for tests: given as lists, and gathered again.
#pragma once

#include <algorithm>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Platform.h"

// The list must outlive it.
class PieceList final : public Platform::TextPieces {
public:
    explicit PieceList(const std::vector<std::string_view>& pieces) : m_pieces(pieces) {}

    bool ForEach(const std::function<bool(std::string_view)>& take) const override {
        return std::all_of(m_pieces.begin(), m_pieces.end(), std::cref(take));
    }

private:
    const std::vector<std::string_view>& m_pieces;
};

inline bool ReplaceFile(const std::wstring& path, const std::vector<std::string_view>& pieces) {
    return Platform::ReplaceFile(path, PieceList(pieces));
}

inline std::vector<std::string_view> PiecesOf(const Platform::TextPieces& text) {
    std::vector<std::string_view> pieces;
    text.ForEach([&](std::string_view piece) {
        pieces.push_back(piece);
        return true;
    });
    return pieces;
}
