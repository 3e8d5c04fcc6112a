#include "Messages.h"

#include "EmbeddedTexts.h"

namespace maravel::diagnosis {
namespace {

struct Binding
{
    Event event;
    const char* part; // of the text
};

// A text that several bindings fit belongs to the first one.
constexpr Binding kBindings[] = {
    {Event::Banner, "MODULE INITIALIZATION"},
    {Event::AdapterVersion, "Adapter version:"},
    {Event::Elevated, "Running as admin:"},
    {Event::HostProgram, "Calling process:"},
    {Event::SdkPath, "ZvkAPI path:"},
    {Event::SdkFolderMissing, "ZvkAPI not found."},
    {Event::SdkNotLoaded, "ERROR while loading '%s'."},
    {Event::TriggerModel, "trigger model."},
    {Event::EntryMissing, "Could not find %s"},
    {Event::SdkStarted, "SUCCESS. Zorvik V"},
    {Event::SdkRefused, "FAILED. Reason=%s (%d). Zorvik V"},
    {Event::CamerasFound, "Found %d camera(s)"},
    {Event::CamerasNotListed, "Error while enumerating cameras."},
    {Event::NoFurtherChannel, "No further video channels found!"},
    {Event::CameraOpened, "Camera OPENED successfully."},
    {Event::CameraNotOpened, "Error while opening camera."},
    {Event::PacketSize, "GVSPAdjustPacketSize set to"},
    {Event::PacketSizeTimeout, "ERROR. Timeout exceeded. Feature="},
    {Event::ExposureAuto, "bExposureAutoOff="},
    {Event::NoExposure, "Neither ExposureTime nor"},
    {Event::TriggerMode, "INFO: Trigger Mode ="},
    {Event::EntrySet, "Set to '%s'"},
    {Event::PixelFormat, "Incoming video format:"},
    {Event::CameraStarted, "AcquisitionStart success."},
    {Event::TriggerRefused, "TriggerSoftware failed."},
    {Event::StopFailed, "AcquisitionStop command failed."},
    {Event::Stopped, "FramesReceived="},
    {Event::FrameStored, "Frame stored in FIFO."},
    {Event::FrameIncomplete, "Frame incomplete (%d). Requeueing"},
    {Event::ImageDescribed, "INFO offsetX="},
    {Event::RegistryOff, "Error while accessing registry. %d %d"},
};

bool Contains(std::string_view text, std::string_view part)
{
    return text.find(part) != std::string_view::npos;
}

Event EventOf(std::string_view text)
{
    if (text == "%s") {
        return Event::Step;
    }
    if (text == "%s: channelID=%lld") {
        return Event::HostCalls;
    }
    for (const Binding& binding : kBindings) {
        if (Contains(text, binding.part)) {
            return binding.event;
        }
    }
    return Event::None;
}

// The texts say it themselves, each in its own words.
Level LevelOf(std::string_view text)
{
    if (Contains(text, "Frame stored in FIFO") || Contains(text, "INFO offsetX") ||
        Contains(text, "FIFO empty, pending")) {
        return Level::Frequent;
    }
    for (const char* part : {"ERROR", "Error while", "FAILED", "INVALID", "Could not find", "not found.",
                             "Invalid class pointer", "Unable to open", ", (%d)"}) {
        if (Contains(text, part) && !Contains(text, "WARNING") && !Contains(text, "accessing registry")) {
            return Level::Error;
        }
    }
    for (const char* part : {"WARNING", "incomplete", "Failed to open", "Failed to get", "StreamCount=0",
                             "accessing registry"}) {
        if (Contains(text, part)) {
            return Level::Warning;
        }
    }
    return Level::Normal;
}

// The cells of a table's row; a bar between backticks is a text's.
std::vector<std::string> CellsOf(std::string_view line)
{
    std::vector<std::string> cells;
    std::string cell;
    bool quoted = false;
    for (const char c : line.substr(1)) {
        quoted ^= c == '`';
        if (c != '|' || quoted) {
            cell += c;
            continue;
        }
        cell.erase(cell.find_last_not_of(' ') + 1);
        cell.erase(0, cell.find_first_not_of(' '));
        cells.push_back(std::move(cell));
        cell.clear();
    }
    return cells;
}

std::string WithoutBackticks(std::string text)
{
    std::erase(text, '`');
    return text;
}

void AddRow(const std::vector<std::string>& cells, const std::string& section, std::vector<Message>& messages)
{
    const std::string_view texts = cells[0];
    for (std::size_t begin = texts.find('`'); begin != std::string_view::npos;) {
        const std::size_t end = texts.find('`', begin + 1);
        if (end == std::string_view::npos) {
            return;
        }
        Message message;
        message.section = section;
        message.text = texts.substr(begin + 1, end - begin - 1);
        message.means = WithoutBackticks(cells[1]);
        message.advice = cells.size() > 2 ? WithoutBackticks(cells[2]) : "";
        message.level = LevelOf(message.text);
        message.event = EventOf(message.text);
        messages.push_back(std::move(message));
        begin = texts.find('`', end + 1);
    }
}

} // namespace

std::vector<Message> ParseMessages(std::string_view document)
{
    std::vector<Message> messages;
    std::string section;
    while (!document.empty()) {
        const std::size_t end = document.find('\n');
        const std::string_view line = document.substr(0, end);
        document.remove_prefix(end == std::string_view::npos ? document.size() : end + 1);
        if (line.starts_with("## ")) {
            section = line.substr(3);
        }
        else if (line.starts_with("| ") && !line.starts_with("| message |")) {
            if (const auto cells = CellsOf(line); cells.size() >= 2) {
                AddRow(cells, section, messages);
            }
        }
    }
    return messages;
}

const std::vector<Message>& Messages()
{
    static const std::vector<Message> messages = ParseMessages(kLogDocument);
    return messages;
}

} // namespace maravel::diagnosis
