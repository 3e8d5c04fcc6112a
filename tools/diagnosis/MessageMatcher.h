// Recognises the messages of the log by operation and text. The source line in front of a message identifies
// a call site within one version only, so it is a hint for speed and nothing more.
#pragma once

#include "Messages.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace maravel::diagnosis {

// A message that was recognised, and the values that stand in it. The texts are parts of the line.
struct Match
{
    static constexpr std::int64_t NoChannel = -1;

    const Message* message = nullptr; // null: not known
    std::string_view operation;
    std::int64_t channel = NoChannel;
    std::string_view reason; // the SDK's name of its result; empty: none
    std::int64_t code = 0;
    std::array<std::string_view, 12> values; // of the placeholders after the operation
    std::size_t valueCount = 0;

    std::string_view Value(std::size_t i) const { return i < valueCount ? values[i] : std::string_view(); }
    std::int64_t Number(std::size_t i) const;
};

class MessageMatcher
{
public:
    // The messages must outlive the matcher.
    explicit MessageMatcher(const std::vector<Message>& messages = Messages());
    ~MessageMatcher();
    MessageMatcher(const MessageMatcher&) = delete;
    MessageMatcher& operator=(const MessageMatcher&) = delete;

    // `sourceLine`: 0 when there is none.
    Match Find(std::string_view text, unsigned sourceLine = 0);

private:
    struct Pattern;

    bool Try(const Pattern& pattern, std::string_view text, std::string_view operation, std::string_view rest,
             bool cut, Match* match) const;

    std::vector<Pattern> patterns_; // the longest fixed beginning first
    std::array<std::vector<std::uint16_t>, 256> byHash_;
    std::vector<std::uint16_t> unhashed_; // those with a short beginning
    std::vector<std::uint16_t> lastAt_;   // by source line: the pattern that fitted last, plus 1
};

std::int64_t ToNumber(std::string_view digits);

} // namespace maravel::diagnosis
