#include "MessageMatcher.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string>

namespace maravel::diagnosis {
namespace {

constexpr std::size_t kHashed = 8;           // characters of a beginning that are hashed
constexpr std::size_t kSourceLines = 100000; // five digits
constexpr std::size_t kMostTries = 32;       // places where a text between two others may end

// Texts are cut at these lengths: the host's buffer, from which the line is made, and the log's own.
constexpr std::size_t kCutLengths[] = {255, 1023};

// Texts that consist of placeholders say nothing without the operation that writes them.
struct Generic
{
    std::string_view text;
    std::vector<std::string_view> operations;
    std::string_view section = {}; // of the document; empty: any
};
const std::vector<Generic>& Generics()
{
    static const std::vector<Generic> generics = {
        {"%s: %s", {"listAdapters"}},
        {"%s:  %s=%s", {"listAdapters"}},
        {"%s:  %s=%u", {"listAdapters"}},
        {"%s(%d)", {"CAdapterData::Alloc"}},
        {"%s", {"InitializeAdapter", "EnumCameras", "CAdapterData::Free"}, "Start-up"},
        {"%s", {"ShutdownAdapter", "Exit"}, "Release and end"},
        {"%s, (%d)", {"GetImage"}},
    };
    return generics;
}

bool IsLetter(char c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

std::size_t OperationLength(std::string_view text)
{
    std::size_t i = 0;
    while (i < text.size()) {
        if (IsLetter(text[i]) || (i > 0 && IsDigit(text[i])))
            ++i;
        else if (i > 0 && text.substr(i, 2) == "::" && i + 2 < text.size() && IsLetter(text[i + 2]))
            i += 2;
        else
            break;
    }
    return i;
}

std::uint8_t HashOf(std::string_view text)
{
    std::uint64_t word = 0;
    std::memcpy(&word, text.data(), kHashed);
    return static_cast<std::uint8_t>((word * 0x9E3779B97F4A7C15u) >> 56);
}

enum class Kind : std::uint8_t
{
    Literal,
    Text,
    Integer,
    Hexadecimal,
    Float
};

enum class Role : std::uint8_t
{
    None,
    Channel,
    Reason,
    Code
};

struct Piece
{
    Kind kind = Kind::Literal;
    Role role = Role::None;
    std::string literal;
};

Role RoleOf(std::string_view before, Kind kind, Role previous)
{
    std::string lower(before);
    std::ranges::transform(lower, lower.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? c + 32 : c; });
    const std::string_view end = lower;
    if (kind == Kind::Integer &&
        (end.ends_with("channelid=") || end.ends_with("channelid:") || end.ends_with("channelid ") ||
         end.ends_with("channel: ") || end.ends_with("devnum=")))
        return Role::Channel;
    if (kind == Kind::Text && (end.ends_with("reason=") || end.ends_with("reason = ")))
        return Role::Reason;
    return kind == Kind::Integer && previous == Role::Reason ? Role::Code : Role::None;
}

// Splits a printf-style text at its placeholders.
std::vector<Piece> Split(std::string_view text)
{
    std::vector<Piece> pieces;
    std::string literal;
    Role previous = Role::None;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            literal += text[i];
            continue;
        }
        while (i + 1 < text.size() && std::strchr(" 0123456789l", text[i + 1]) != nullptr)
            ++i;
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
        if (!literal.empty())
            pieces.push_back({.literal = std::move(literal)});
        literal.clear();
        pieces.push_back(std::move(piece));
    }
    if (!literal.empty())
        pieces.push_back({.literal = std::move(literal)});
    return pieces;
}

std::size_t NumberLength(Kind kind, std::string_view text)
{
    std::size_t i = !text.empty() && text[0] == '-' ? 1 : 0;
    const std::size_t sign = i;
    const auto fits = [kind](char c) {
        return IsDigit(c) || (kind == Kind::Float && std::strchr(".infa", c) != nullptr && c != '\0') ||
               (kind == Kind::Hexadecimal && c >= 'A' && c <= 'F');
    };
    while (i < text.size() && fits(text[i]))
        ++i;
    if (kind == Kind::Float && i > sign && text[i - 1] == '.') // the sentence's
        --i;
    return i > sign ? i : 0;
}

// Fits pieces to the rest of a line.
class Fitting
{
public:
    Fitting(const std::vector<Piece>& pieces, bool cut) : pieces_(pieces), cut_(cut) {}

    bool Fits(std::size_t piece, std::string_view rest)
    {
        for (; piece < pieces_.size(); ++piece) {
            const Piece& now = pieces_[piece];
            if (now.kind == Kind::Literal) {
                if (cut_ && rest.size() < now.literal.size())
                    return std::string_view(now.literal).starts_with(rest);
                if (!rest.starts_with(now.literal))
                    return false;
                rest.remove_prefix(now.literal.size());
                continue;
            }
            if (now.kind == Kind::Text)
                return FitsText(piece, rest);
            const std::size_t length = NumberLength(now.kind, rest);
            if (length == 0)
                return cut_ && rest.empty();
            Keep(piece, rest.substr(0, length));
            rest.remove_prefix(length);
        }
        return rest.empty();
    }

    std::array<std::string_view, 24> values; // by piece

private:
    bool FitsText(std::size_t piece, std::string_view rest)
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
            if (Fits(piece + 1, rest.substr(end)))
                return true;
        }
        if (cut_)
            Keep(piece, rest);
        return cut_;
    }
    void Keep(std::size_t piece, std::string_view value)
    {
        if (piece < values.size())
            values[piece] = value;
    }

    const std::vector<Piece>& pieces_;
    const bool cut_;
    std::size_t tries_ = 0;
};

} // namespace

struct MessageMatcher::Pattern
{
    const Message* message = nullptr;
    bool hasOperation = false;
    std::vector<std::string_view> operations; // empty: any
    std::vector<Piece> pieces;                // after the operation

    std::string_view Beginning() const
    {
        return !pieces.empty() && pieces[0].kind == Kind::Literal ? std::string_view(pieces[0].literal)
                                                                  : std::string_view();
    }
    std::size_t Weight() const
    {
        std::size_t weight = operations.empty() ? 0 : 1;
        for (const Piece& piece : pieces)
            weight += piece.literal.size();
        return weight;
    }
};

std::int64_t ToNumber(std::string_view digits)
{
    std::int64_t number = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return number;
}

std::int64_t Match::Number(std::size_t i) const
{
    return ToNumber(Value(i));
}

MessageMatcher::MessageMatcher(const std::vector<Message>& messages) : lastAt_(kSourceLines)
{
    for (const Message& message : messages) {
        Pattern pattern;
        pattern.message = &message;
        std::string_view text = message.text;
        text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
        for (const Generic& generic : Generics())
            if (generic.text == text && (generic.section.empty() || generic.section == message.section))
                pattern.operations = generic.operations;
        for (const std::string_view start : {"%s", "% s"}) {
            if (text.starts_with(start) && !pattern.hasOperation) {
                pattern.hasOperation = true;
                text.remove_prefix(start.size());
            }
        }
        pattern.pieces = Split(text);
        patterns_.push_back(std::move(pattern));
    }
    std::ranges::stable_sort(patterns_, std::greater<>(), &Pattern::Weight);
    for (std::size_t i = 0; i < patterns_.size(); ++i) {
        const std::string_view beginning = patterns_[i].Beginning();
        auto& list =
            patterns_[i].hasOperation && beginning.size() >= kHashed ? byHash_[HashOf(beginning)] : unhashed_;
        list.push_back(static_cast<std::uint16_t>(i));
    }
}

MessageMatcher::~MessageMatcher() = default;

bool MessageMatcher::Try(const Pattern& pattern, std::string_view text, std::string_view operation,
                         std::string_view rest, bool cut, Match* match) const
{
    if (pattern.hasOperation && operation.empty())
        return false;
    if (!pattern.operations.empty() &&
        std::ranges::find(pattern.operations, operation) == pattern.operations.end())
        return false;
    Fitting fitting(pattern.pieces, cut);
    if (!fitting.Fits(0, pattern.hasOperation ? rest : text))
        return false;
    match->message = pattern.message;
    match->operation = pattern.hasOperation ? operation : std::string_view();
    for (std::size_t i = 0; i < pattern.pieces.size() && i < fitting.values.size(); ++i) {
        const Piece& piece = pattern.pieces[i];
        if (piece.kind == Kind::Literal)
            continue;
        const std::string_view value = fitting.values[i];
        if (piece.role == Role::Channel && !value.empty())
            match->channel = ToNumber(value);
        else if (piece.role == Role::Reason)
            match->reason = value;
        else if (piece.role == Role::Code)
            match->code = ToNumber(value);
        if (match->valueCount < match->values.size())
            match->values[match->valueCount++] = value;
    }
    return true;
}

Match MessageMatcher::Find(std::string_view text, unsigned sourceLine)
{
    Match match;
    const bool cut = std::ranges::find(kCutLengths, text.size()) != std::end(kCutLengths);
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    const std::size_t length = OperationLength(text);
    const std::string_view operation = text.substr(0, length);
    const std::string_view rest = text.substr(length);

    std::uint16_t* last = sourceLine > 0 && sourceLine < lastAt_.size() ? &lastAt_[sourceLine] : nullptr;
    if (last != nullptr && *last != 0 && Try(patterns_[*last - 1u], text, operation, rest, false, &match))
        return match;
    const auto search = [&](const std::vector<std::uint16_t>& list, bool asCut) {
        for (const std::uint16_t i : list) {
            match = {};
            if (!Try(patterns_[i], text, operation, rest, asCut, &match))
                continue;
            if (last != nullptr && !asCut)
                *last = static_cast<std::uint16_t>(i + 1);
            return true;
        }
        return false;
    };
    for (const bool asCut : {false, true}) {
        if (asCut && !cut)
            break;
        if ((rest.size() >= kHashed && search(byHash_[HashOf(rest)], asCut)) || search(unhashed_, asCut))
            return match;
    }
    match = {};
    match.operation = operation;
    return match;
}

} // namespace maravel::diagnosis
