#include "MessagePattern.h"

#include <algorithm>
#include <cstring>

namespace maravel::diagnosis {
namespace {

constexpr std::size_t kMostTries = 32; // places where a text between two others may end

Role RoleOf(std::string_view before, Kind kind, Role previous)
{
    std::string lower(before);
    std::ranges::transform(lower, lower.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? c + 32 : c; });
    const std::string_view end = lower;
    if (kind == Kind::Integer &&
        (end.ends_with("channelid=") || end.ends_with("channelid:") || end.ends_with("channelid ") ||
         end.ends_with("channel: ") || end.ends_with("devnum="))) {
        return Role::Channel;
    }
    if (kind == Kind::Text && (end.ends_with("reason=") || end.ends_with("reason = "))) {
        return Role::Reason;
    }
    return kind == Kind::Integer && previous == Role::Reason ? Role::Code : Role::None;
}

std::size_t NumberLength(Kind kind, std::string_view text)
{
    std::size_t i = !text.empty() && text[0] == '-' ? 1 : 0;
    const std::size_t sign = i;
    const auto fits = [kind](char c) {
        return IsDigit(c) || (kind == Kind::Float && std::strchr(".infa", c) != nullptr && c != '\0') ||
               (kind == Kind::Hexadecimal && c >= 'A' && c <= 'F');
    };
    while (i < text.size() && fits(text[i])) {
        ++i;
    }
    if (kind == Kind::Float && i > sign && text[i - 1] == '.') { // the sentence's
        --i;
    }
    return i > sign ? i : 0;
}

} // namespace

std::vector<Piece> SplitPattern(std::string_view text)
{
    std::vector<Piece> pieces;
    std::string literal;
    Role previous = Role::None;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            literal += text[i];
            continue;
        }
        while (i + 1 < text.size() && std::strchr(" 0123456789l", text[i + 1]) != nullptr) {
            ++i;
        }
        const char letter = ++i < text.size() ? text[i] : '%';
        if (letter == '%') {
            literal += '%';
            continue;
        }
        Piece piece;
        piece.kind = letter == 's'   ? Kind::Text
                     : letter == 'X' ? Kind::Hexadecimal
                     : letter == 'f' ? Kind::Float
                                     : Kind::Integer;
        piece.role = previous = RoleOf(literal, piece.kind, previous);
        if (!literal.empty()) {
            pieces.push_back({.literal = std::move(literal)});
        }
        literal.clear();
        pieces.push_back(std::move(piece));
    }
    if (!literal.empty()) {
        pieces.push_back({.literal = std::move(literal)});
    }
    return pieces;
}

bool Fitting::Fits(std::size_t piece, std::string_view rest)
{
    for (; piece < pieces_.size(); ++piece) {
        const Piece& now = pieces_[piece];
        if (now.kind == Kind::Literal) {
            if (cut_ && rest.size() < now.literal.size()) {
                return std::string_view(now.literal).starts_with(rest);
            }
            if (!rest.starts_with(now.literal)) {
                return false;
            }
            rest.remove_prefix(now.literal.size());
            continue;
        }
        if (now.kind == Kind::Text) {
            return FitsText(piece, rest);
        }
        const std::size_t length = NumberLength(now.kind, rest);
        if (length == 0) {
            return cut_ && rest.empty();
        }
        Keep(piece, rest.substr(0, length));
        rest.remove_prefix(length);
    }
    return rest.empty();
}

bool Fitting::FitsText(std::size_t piece, std::string_view rest)
{
    if (piece + 1 == pieces_.size()) {
        Keep(piece, rest);
        return true;
    }
    const std::string& next = pieces_[piece + 1].literal;
    std::size_t end = rest.find(next);
    for (; end != std::string_view::npos && tries_ < kMostTries; end = rest.find(next, end + 1)) {
        ++tries_;
        Keep(piece, rest.substr(0, end));
        if (Fits(piece + 1, rest.substr(end))) {
            return true;
        }
    }
    if (cut_) {
        Keep(piece, rest);
    }
    return cut_;
}

void Fitting::Keep(std::size_t piece, std::string_view value)
{
    if (piece < values.size()) {
        values[piece] = value;
    }
}

} // namespace maravel::diagnosis
