// Looks at everything that a start needs, before and without a program that fails.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace maravel::diagnosis {

struct Check
{
    enum class Status : std::uint8_t
    {
        Ok,
        Warning, // it works, or may not for some cameras
        Fault
    };
    std::string id; // as programs read it
    Status status = Status::Ok;
    std::string text;
    std::string remedy; // empty when all is well
};

struct DoctorOptions
{
    std::filesystem::path adapter;
    bool besideTool = false; // ZORVIK_HOME was not set, the tool took the SDK folder beside itself
    bool start = true;       // the adapter, to look at the cameras; its log is emptied by that
};

// Tells each check as it is done.
std::vector<Check> Examine(const DoctorOptions& options,
                           const std::function<void(const Check&)>& tell = nullptr);

const char* StatusName(Check::Status status);
bool HasFault(const std::vector<Check>& checks);

// docs/doctor.schema.json describes it.
std::string ChecksAsJson(const std::vector<Check>& checks);

} // namespace maravel::diagnosis
