#include "Doctor.h"

#include "LogFile.h"
#include "Machine.h"
#include "SdkFolder.h"
#include "host/AdapterLibrary.h"
#include "host/Utf8Path.h"
#include "platform/Win32.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fstream>
#include <system_error>

namespace maravel::diagnosis {
namespace {

namespace fs = std::filesystem;
using Status = Check::Status;
using host::TextOf;

constexpr const char* kKey = "SOFTWARE\\maravel\\PLK\\AdapterZorvik";
constexpr std::uintmax_t kRoom = 100u << 20; // bytes: what some hours of a fast camera write

class Examination
{
public:
    explicit Examination(const std::function<void(const Check&)>& tell) : tell_(tell) {}

    void Ok(const std::string& id, const std::string& text) { Add({id, Status::Ok, text, ""}); }
    void Warn(const std::string& id, const std::string& text, const std::string& remedy)
    {
        Add({id, Status::Warning, text, remedy});
    }
    void Fault(const std::string& id, const std::string& text, const std::string& remedy)
    {
        Add({id, Status::Fault, text, remedy});
    }
    bool AnyFault() const { return HasFault(checks); }

    std::vector<Check> checks;

private:
    void Add(Check check)
    {
        if (tell_) {
            tell_(check);
        }
        checks.push_back(std::move(check));
    }

    const std::function<void(const Check&)>& tell_;
};

// The folder; empty when there is none.
fs::path ExamineHome(Examination& examination)
{
    constexpr const char* kId = "zorvik-home";
    const std::string home = EnvironmentVariable("ZORVIK_HOME");
    const std::string set =
        "set it to the SDK's folder, the one that holds 'bin', for all users, then restart the programs";
    if (home.empty()) {
        examination.Fault(kId, "the variable ZORVIK_HOME is not set", "install the SDK, or " + set);
        return {};
    }
    const fs::path folder = host::PathOf(home);
    std::error_code error;
    if (fs::is_directory(folder, error) && !HasNarrowPath(fs::absolute(folder, error))) {
        examination.Fault(kId,
                          "ZORVIK_HOME names the folder " + TextOf(folder) +
                              ", which has characters that this system's code page lacks",
                          "move the SDK to a folder with a plain name");
        return folder;
    }
    if (fs::is_directory(folder, error)) {
        examination.Ok(kId, "ZORVIK_HOME names the folder " + TextOf(folder));
        if (!folder.is_absolute()) {
            examination.Warn("zorvik-home-relative",
                             "ZORVIK_HOME is not a full path: it means another folder for each program",
                             "write the full path");
        }
        return folder;
    }
    const bool quoted = home.find('"') != std::string::npos;
    const bool blank = home.front() == ' ' || home.back() == ' ';
    examination.Fault(kId,
                      "ZORVIK_HOME names " + home + ", which is " +
                          (fs::exists(folder, error) ? "a file" : "no folder"),
                      quoted  ? "write the path without quotes"
                      : blank ? "write the path without blanks around it"
                              : set);
    return {};
}

void ExamineLibraries(Examination& examination, const fs::path& folder)
{
    for (const char* name : {kRuntimeLibrary, kTransformLibrary}) {
        const LibraryCheck check = CheckLibrary(folder, name);
        const std::string id = name == kTransformLibrary ? "transform-library" : "runtime-library";
        const std::string path = TextOf(folder / "bin" / name);
        if (check.complaint.empty()) {
            examination.Ok(id, std::string(name) + " loads and has all " + std::to_string(check.entryPoints) +
                                   " functions");
        }
        else {
            examination.Fault(id, path + ": " + check.complaint,
                              check.tooOld ? "install an SDK version that the adapter supports"
                                           : "repair the SDK's installation (the 64-bit one)");
        }
    }
}

std::string TypeName(DWORD type)
{
    constexpr std::array kNames = {"none", "text", "expandable text", "binary", "number"};
    return type < kNames.size() ? kNames[type] : "type " + std::to_string(type);
}

// Values that the adapter does not list in its log.
void ExamineValues(Examination& examination, HKEY key)
{
    for (DWORD index = 0; index < 1000; ++index) {
        char name[1024];
        BYTE data[1024];
        DWORD nameSize = sizeof(name), dataSize = sizeof(data), type = 0;
        if (RegEnumValueA(key, index, name, &nameSize, nullptr, &type, data, &dataSize) !=
            static_cast<LSTATUS>(ERROR_SUCCESS)) {
            return;
        }
        if (type != REG_SZ && type != REG_DWORD) {
            examination.Warn("registry-value",
                             std::string("the registry value ") + name + " is of the kind " + TypeName(type) +
                                 ", which the log does not list",
                             "write it as text (REG_SZ) or number (REG_DWORD)");
        }
    }
}

void ExamineRegistry(Examination& examination)
{
    constexpr const char* kId = "registry";
    const std::string key = std::string("HKEY_LOCAL_MACHINE\\") + kKey;
    const std::string remedy =
        "write the number: reg add HKLM\\" + std::string(kKey) + " /v EnableLog /t REG_DWORD /d 1";
    const LogSwitch state = ReadLogSwitch();
    if (!state.keyExists) {
        return examination.Ok(kId, "the registry has no key of the adapter: its log is on");
    }
    if (!state.valueExists) {
        examination.Warn(kId, key + " has no readable value EnableLog, which switches the log off", remedy);
    }
    else if (state.type != REG_DWORD) {
        examination.Warn(kId, "EnableLog is of the kind " + TypeName(state.type) + ", not a number", remedy);
    }
    else if (state.value == 0) {
        examination.Warn(kId, "EnableLog is 0: the log is off, and a fault leaves no trace", remedy);
    }
    else {
        examination.Ok(kId, "EnableLog is " + std::to_string(state.value) + ": the log is on");
    }
    HKEY opened = nullptr;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, kKey, 0, KEY_READ, &opened) ==
        static_cast<LSTATUS>(ERROR_SUCCESS)) {
        ExamineValues(examination, opened);
        RegCloseKey(opened);
    }
}

// Why no file can be made there; empty when one can. Leaves nothing behind.
std::string WhyNotWritable(fs::path folder)
{
    std::error_code error;
    while (!fs::exists(folder, error) && folder.has_relative_path()) {
        folder = folder.parent_path(); // the adapter makes what is missing
    }
    if (!fs::is_directory(folder, error)) {
        return TextOf(folder) + " is no folder";
    }
    const fs::path trial = folder / "maravel-doctor.tmp";
    errno = 0;
    std::ofstream file(trial, std::ios::trunc);
    file << "x" << std::flush;
    const int code = file ? 0 : errno == 0 ? EACCES : errno;
    file.close();
    fs::remove(trial, error);
    return code == 0 ? "" : TextOf(folder) + ": " + std::generic_category().message(code);
}

// False when another program has the log.
bool ExamineLog(Examination& examination)
{
    const fs::path file = OwnLogFile();
    const fs::path folder = file.parent_path();
    std::error_code error;
    if (file.empty()) {
        examination.Fault("log-folder", "the system does not tell the all-users documents folder",
                          "repair the user's profile");
        return true;
    }
    if (const std::string why = WhyNotWritable(folder); !why.empty()) {
        examination.Fault("log-folder", "the log cannot be written: " + why,
                          "give the programs' users write access to " + TextOf(folder));
    }
    else if (fs::is_directory(file, error)) {
        examination.Fault("log-folder", TextOf(file) + " is a folder", "remove it");
    }
    else if (fs::exists(file, error) && !std::ofstream(file, std::ios::app)) {
        examination.Fault("log-folder", "the log " + TextOf(file) + " is there and cannot be written",
                          "remove it, or give the programs' users write access to it");
    }
    else {
        examination.Ok("log-folder", "the log can be written to " + TextOf(folder));
    }
    const fs::space_info room = fs::space(fs::exists(folder, error) ? folder : DocumentsFolder(), error);
    if (!error && room.available < kRoom) {
        examination.Warn("log-room",
                         "only " + std::to_string(room.available >> 20) + " MB are left on the log's disk",
                         "make room; a log that cannot grow is cut");
    }
    const std::vector<std::string> users = UsersOf(file);
    if (users.empty()) {
        return true;
    }
    examination.Warn(
        "log-writer",
        users.front() +
            " has the log open: the adapter runs there, and a second program would garble its log",
        "end it before another program uses the adapter");
    return false;
}

void ExamineCameras(Examination& examination, const DoctorOptions& options)
{
    std::string reason;
    const auto adapter = host::AdapterLibrary::Load(TextOf(options.adapter), &reason);
    if (adapter == nullptr) {
        return examination.Fault("adapter", reason,
                                 "repair the adapter's installation, or name it with --adapter");
    }
    examination.Ok("adapter", "the adapter " + TextOf(options.adapter) + " loads");
    if (!options.start) {
        return;
    }
    if (examination.AnyFault()) {
        return examination.Warn("start", "the adapter was not started because of what is said above",
                                "remove the faults first");
    }
    std::vector<host::Channel> channels;
    const host::Outcome outcome = adapter->CollectChannels(&channels);
    RunReport run;
    if (ReadLogSwitch().On() && fs::exists(OwnLogFile())) {
        if (const LogReport report = ReadLog(OwnLogFile(), true); !report.runs.empty()) {
            run = report.runs.back();
        }
    }
    const auto found = std::ranges::find_if(
        run.findings, [](const Finding& finding) { return finding.fault->severity == Severity::Fault; });
    if (!outcome || channels.empty()) {
        if (found != run.findings.end()) {
            return examination.Fault(found->fault->name, found->sentence, found->advice);
        }
        return examination.Fault("start", outcome.text.empty() ? "no camera was found" : outcome.text,
                                 Describe(FaultId::NoCamera).advice);
    }
    examination.Ok("start",
                   "the adapter" + (run.adapterVersion.empty() ? "" : " V" + run.adapterVersion) + " starts" +
                       (run.sdkVersion.empty() ? ""
                                               : " the SDK V" + run.sdkVersion + " (image transform V" +
                                                     run.transformVersion + ")") +
                       " and finds " + std::to_string(channels.size()) +
                       (channels.size() == 1 ? " camera" : " cameras"));
    for (const host::Channel& channel : channels) {
        const std::string id = "camera-" + std::to_string(channel.Index());
        const std::string name = channel.Label() + ", serial number " + channel.SerialNumber();
        if (channel.Opened()) {
            examination.Ok(id, name + ": opens");
            continue;
        }
        const auto why = std::ranges::find(run.findings, channel.Index(), &Finding::channel);
        examination.Fault(
            id, name + ": cannot be opened" + (why == run.findings.end() ? "" : ". " + why->sentence),
            why == run.findings.end() ? "'camhost log' tells more" : why->advice);
    }
    for (const Finding& finding : run.findings) {
        if (finding.fault->severity == Severity::Warning && finding.fault->id != FaultId::HostKilled) {
            examination.Warn(finding.fault->name, finding.sentence, finding.advice);
        }
    }
}

} // namespace

std::vector<Check> Examine(const DoctorOptions& options, const std::function<void(const Check&)>& tell)
{
    Examination examination(tell);
    if (options.besideTool) {
        examination.Warn(
            "zorvik-home-unset",
            "the variable ZORVIK_HOME is not set: this tool takes the SDK beside it, other programs find none",
            "set ZORVIK_HOME for all users, then restart the programs");
    }
    if (const fs::path folder = ExamineHome(examination); !folder.empty()) {
        ExamineLibraries(examination, folder);
    }
    ExamineRegistry(examination);
    DoctorOptions careful = options;
    careful.start = ExamineLog(examination) && options.start;
    ExamineCameras(examination, careful);
    for (const MachineCheck& check : CheckNetwork()) {
        if (check.good) {
            examination.Ok(check.id, check.text);
        }
        else {
            examination.Warn(check.id, check.text, check.advice);
        }
    }
    return std::move(examination.checks);
}

const char* StatusName(Status status)
{
    constexpr std::array kNames = {"ok", "warning", "fault"};
    return kNames[static_cast<std::size_t>(status)];
}

bool HasFault(const std::vector<Check>& checks)
{
    return std::ranges::any_of(checks, [](const Check& check) { return check.status == Status::Fault; });
}

} // namespace maravel::diagnosis
