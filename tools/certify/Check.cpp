#include "Check.h"

#include "sdk/Names.h"

#include <algorithm>
#include <string_view>

namespace maravel::certify {
namespace {

constexpr std::size_t kShownFailures = 5;

bool g_strict = false;

} // namespace

void BeStrict(bool strict)
{
    g_strict = strict;
}

std::string NameOf(ZvkError_t result)
{
    return std::string(ErrorCodeName(result)) + " (" + std::to_string(result) + ")";
}

void Fail(const std::string& text, const char* file, int line)
{
    std::string_view name(file);
    name.remove_prefix(std::min(name.size(), name.find_last_of("/\\") + 1));
    throw Failed{std::string(name) + "(" + std::to_string(line) + "): " + text};
}

void ExpectOk(ZvkError_t result, const char* call, const char* file, int line)
{
    if (result != ZvkErrorSuccess) {
        Fail(std::string(call) + " gave " + NameOf(result), file, line);
    }
}

void ExpectRefused(ZvkError_t result, ZvkError_t code, const char* call, const char* file, int line)
{
    if (result >= 0 || (g_strict && result != code)) {
        Fail(std::string(call) + " gave " + NameOf(result) + ", expected " +
                 (g_strict ? "" : "an error such as ") + NameOf(code),
             file, line);
    }
}

void Findings::Add(const std::string& name, const std::string& text)
{
    failures_.push_back(name + ": " + text);
}

void Findings::Judge(const char* none) const
{
    if (asked_ == 0) {
        throw NotSupported{none};
    }
    if (failures_.empty()) {
        return;
    }
    std::string text = std::to_string(failures_.size()) + " of " + std::to_string(asked_) + ":";
    for (std::size_t i = 0; i < std::min(failures_.size(), kShownFailures); ++i) {
        text += "\n" + failures_[i];
    }
    if (failures_.size() > kShownFailures) {
        text += "\n...";
    }
    throw Failed{text};
}

} // namespace maravel::certify
