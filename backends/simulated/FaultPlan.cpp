#include "FaultPlan.h"

#include <charconv>

namespace maravel::simulated {
namespace {

constexpr std::uint32_t kMostCameras = 32;

// The words of one statement, taken one after the other.
class Words
{
public:
    explicit Words(std::string_view statement)
    {
        while (!statement.empty()) {
            const std::size_t begin = statement.find_first_not_of(" \t\r");
            if (begin == std::string_view::npos) {
                return;
            }
            statement.remove_prefix(begin);
            const std::size_t end = statement.find_first_of(" \t\r");
            words_.emplace_back(statement.substr(0, end));
            statement.remove_prefix(words_.back().size());
        }
    }
    bool AtEnd() const { return next_ == words_.size(); }
    std::string Take() { return AtEnd() ? std::string() : words_[next_++]; }
    bool TakeIf(std::string_view word)
    {
        const bool is = !AtEnd() && words_[next_] == word;
        next_ += is ? 1 : 0;
        return is;
    }

private:
    std::vector<std::string> words_;
    std::size_t next_ = 0;
};

template <class Number>
bool ToNumber(std::string_view text, Number* number)
{
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, *number);
    return stop == end && error == std::errc();
}

bool ToMilliseconds(std::string_view text, std::uint32_t* milliseconds)
{
    const bool fine = text.ends_with("ms");
    if (!fine && !text.ends_with("s")) {
        return false;
    }
    text.remove_suffix(fine ? 2 : 1);
    constexpr std::uint32_t kSecondsOfADay = 86'400;
    const std::uint32_t unit = fine ? 1 : 1000;
    if (!ToNumber(text, milliseconds) || *milliseconds > kSecondsOfADay * (1000 / unit)) {
        return false;
    }
    *milliseconds *= unit;
    return true;
}

struct Form
{
    PlannedFault::Kind kind;
    const char* word;
    const char* form;
};
constexpr Form kForms[] = {
    {PlannedFault::Kind::Unplug, "unplug",
     "unplug CAMERA [after TIME | after N frames] [for TIME], such as 'unplug 0 after 2s for 500ms'"},
    {PlannedFault::Kind::Incomplete, "incomplete",
     "incomplete CAMERA every N, such as 'incomplete 1 every 3'"},
    {PlannedFault::Kind::Silent, "silent", "silent CAMERA, such as 'silent 0'"},
    {PlannedFault::Kind::Busy, "busy", "busy CAMERA, such as 'busy 1'"},
    {PlannedFault::Kind::Hold, "hold", "hold CAMERA COMMAND, such as 'hold 0 GVSPAdjustPacketSize'"},
    {PlannedFault::Kind::Fail, "fail", "fail ENTRY NTH CODE [always], such as 'fail ZvkFrameAnnounce 2 -14'"},
    {PlannedFault::Kind::Crash, "crash", "crash ENTRY NTH, such as 'crash ZvkCameraOpen 1'"},
    {PlannedFault::Kind::Hang, "hang", "hang ENTRY NTH, such as 'hang ZvkCameraOpen 1'"},
    {PlannedFault::Kind::Cameras, "cameras", "cameras N [N ...], such as 'cameras 0'"},
};

bool TakeTimes(Words& words, PlannedFault* fault)
{
    if (words.TakeIf("after")) {
        const std::string time = words.Take();
        if (ToNumber(time, &fault->afterFrames)) {
            if (fault->afterFrames == 0 || !(words.TakeIf("frames") || words.TakeIf("frame"))) {
                return false;
            }
        }
        else if (!ToMilliseconds(time, &fault->afterMs)) {
            return false;
        }
    }
    return !words.TakeIf("for") || (ToMilliseconds(words.Take(), &fault->forMs) && fault->forMs > 0);
}

bool Fill(Words& words, PlannedFault* fault)
{
    using Kind = PlannedFault::Kind;
    if (fault->kind == Kind::Fail) {
        fault->name = words.Take();
        const bool good = ToNumber(words.Take(), &fault->number) && fault->number > 0 &&
                          ToNumber(words.Take(), &fault->code) && fault->code < 0;
        fault->always = words.TakeIf("always");
        return good;
    }
    if (fault->kind == Kind::Crash || fault->kind == Kind::Hang) {
        fault->name = words.Take();
        return ToNumber(words.Take(), &fault->number) && fault->number > 0;
    }
    if (fault->kind == Kind::Cameras) {
        while (!words.AtEnd()) {
            std::uint32_t count = 0;
            if (!ToNumber(words.Take(), &count) || fault->counts.size() == 64) {
                return false;
            }
            fault->counts.push_back(count);
        }
        return !fault->counts.empty();
    }
    if (!ToNumber(words.Take(), &fault->camera) || fault->camera >= kMostCameras) {
        return false;
    }
    switch (fault->kind) {
    case Kind::Unplug:
        return TakeTimes(words, fault);
    case Kind::Incomplete:
        return words.TakeIf("every") && ToNumber(words.Take(), &fault->number) && fault->number > 0;
    case Kind::Hold:
        fault->name = words.Take();
        return !fault->name.empty() && fault->name.size() < 64;
    default:
        return true;
    }
}

bool ParseStatement(std::string_view statement, std::vector<PlannedFault>* faults, std::string* error)
{
    Words words(statement);
    if (words.AtEnd()) {
        return true;
    }
    const std::string first = words.Take();
    std::string known;
    for (const Form& form : kForms) {
        known += (known.empty() ? "" : ", ") + std::string(form.word);
        if (first != form.word) {
            continue;
        }
        PlannedFault fault;
        fault.kind = form.kind;
        if (Fill(words, &fault) && words.AtEnd()) {
            faults->push_back(std::move(fault));
            return true;
        }
        *error = "'" + std::string(statement) + "' is no fault; write " + form.form;
        return false;
    }
    *error = "'" + first + "' is no fault; there are " + known;
    return false;
}

} // namespace

bool ParseFaults(std::string_view text, std::vector<PlannedFault>* faults, std::string* error)
{
    while (!text.empty()) {
        const std::size_t end = text.find_first_of(";\n");
        std::string_view statement = text.substr(0, end);
        const std::size_t begin = statement.find_first_not_of(" \t\r");
        statement.remove_prefix(begin == std::string_view::npos ? statement.size() : begin);
        while (!statement.empty() && (statement.back() == ' ' || statement.back() == '\r')) {
            statement.remove_suffix(1);
        }
        if (!ParseStatement(statement, faults, error)) {
            return false;
        }
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return true;
}

} // namespace maravel::simulated
