// What the process that runs checks tells the one that started it: lines of standard output that begin with
// kMark; whatever else a library prints there is passed over.
#pragma once

#include "Check.h"

#include <string>

namespace maravel::certify::worker {

inline constexpr const char* kMark = "camhost-certify ";
inline constexpr int kHung = 97; // exit code: a check did not return

// What a process is asked to do instead of checks.
inline constexpr const char* kCamera = "camera";     // to say which camera it is
inline constexpr const char* kSettings = "settings"; // only to put the settings back

void TellBegin(const std::string& id);
void Tell(const Result& result);
// A setting that could not be put back.
void TellLeft(const std::string& setting);
// The camera that is asked; empty: there is none.
void TellCamera(const std::string& camera);

struct Message
{
    enum class Kind : std::uint8_t
    {
        None, // not ours
        Begin,
        End,
        Left,
        Camera
    };
    Kind kind = Kind::None;
    Result result;    // Begin: the identifier alone
    std::string text; // Left, Camera
};
Message Parse(const std::string& line);

} // namespace maravel::certify::worker
