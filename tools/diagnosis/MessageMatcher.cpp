#include "MessageMatcher.h"

#include "MessagePattern.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string>

namespace maravel::diagnosis {
namespace {

constexpr std::size_t kHashed = 8;           // characters of a beginning that are hashed
constexpr std::size_t kSourceLines = 100000; // five digits

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

std::size_t OperationLength(std::string_view text)
{
    std::size_t i = 0;
    while (i < text.size()) {
        if (IsLetter(text[i]) || (i > 0 && IsDigit(text[i]))) {
            ++i;
        }
        else if (i > 0 && text.substr(i, 2) == "::" && i + 2 < text.size() && IsLetter(text[i + 2])) {
            i += 2;
        }
        else {
            break;
        }
    }
    return i;
}

std::uint8_t HashOf(std::string_view text)
{
    std::uint64_t word = 0;
    std::memcpy(&word, text.data(), kHashed);
    return static_cast<std::uint8_t>((word * 0x9E3779B97F4A7C15u) >> 56);
}

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
        for (const Piece& piece : pieces) {
            weight += piece.literal.size();
        }
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
        for (const Generic& generic : Generics()) {
            if (generic.text == text && (generic.section.empty() || generic.section == message.section)) {
                pattern.operations = generic.operations;
            }
        }
        for (const std::string_view start : {"%s", "% s"}) {
            if (text.starts_with(start) && !pattern.hasOperation) {
                pattern.hasOperation = true;
                text.remove_prefix(start.size());
            }
        }
        pattern.pieces = SplitPattern(text);
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
    if (pattern.hasOperation && operation.empty()) {
        return false;
    }
    if (!pattern.operations.empty() &&
        std::ranges::find(pattern.operations, operation) == pattern.operations.end()) {
        return false;
    }
    Fitting fitting(pattern.pieces, cut);
    if (!fitting.Fits(0, pattern.hasOperation ? rest : text)) {
        return false;
    }
    match->message = pattern.message;
    match->operation = pattern.hasOperation ? operation : std::string_view();
    for (std::size_t i = 0; i < pattern.pieces.size() && i < fitting.values.size(); ++i) {
        const Piece& piece = pattern.pieces[i];
        if (piece.kind == Kind::Literal) {
            continue;
        }
        const std::string_view value = fitting.values[i];
        if (piece.role == Role::Channel && !value.empty()) {
            match->channel = ToNumber(value);
        }
        else if (piece.role == Role::Reason) {
            match->reason = value;
        }
        else if (piece.role == Role::Code) {
            match->code = ToNumber(value);
        }
        if (match->valueCount < match->values.size()) {
            match->values[match->valueCount++] = value;
        }
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
    if (last != nullptr && *last != 0 && Try(patterns_[*last - 1u], text, operation, rest, false, &match)) {
        return match;
    }
    const auto search = [&](const std::vector<std::uint16_t>& list, bool asCut) {
        for (const std::uint16_t i : list) {
            match = {};
            if (!Try(patterns_[i], text, operation, rest, asCut, &match)) {
                continue;
            }
            if (last != nullptr && !asCut) {
                *last = static_cast<std::uint16_t>(i + 1);
            }
            return true;
        }
        return false;
    };
    for (const bool asCut : {false, true}) {
        if (asCut && !cut) {
            break;
        }
        if ((rest.size() >= kHashed && search(byHash_[HashOf(rest)], asCut)) || search(unhashed_, asCut)) {
            return match;
        }
    }
    match = {};
    match.operation = operation;
    return match;
}

} // namespace maravel::diagnosis
