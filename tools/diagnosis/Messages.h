// The messages of the adapter's log. Their one table is docs/log.md, which the build puts into the program:
// the page that people read, the reader, and the format file for lnav cannot differ.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace maravel::diagnosis {

enum class Level : std::uint8_t
{
    Normal,
    Frequent, // comes with every frame
    Warning,
    Error
};

// What the analysis does with a message; bound to the texts in Messages.cpp.
enum class Event : std::uint8_t
{
    None,
    Banner,
    AdapterVersion,
    Elevated,
    HostProgram,
    SdkPath,
    SdkFolderMissing,
    SdkNotLoaded, // the host was told so
    TriggerModel,
    EntryMissing,
    SdkStarted,
    SdkRefused,
    CamerasFound,
    CamerasNotListed,
    NoFurtherChannel,
    CameraOpened,
    CameraNotOpened,
    PacketSize,
    PacketSizeTimeout,
    ExposureAuto,
    NoExposure,
    TriggerMode,
    EntrySet,
    HostCalls,
    PixelFormat,
    CameraStarted,
    TriggerRefused,
    StopFailed,
    Stopped,
    FrameStored,
    FrameIncomplete,
    ImageDescribed,
    Step, // a step's name alone
    RegistryOff,
};

struct Message
{
    std::string section; // of the document
    std::string text;    // as the source has it, without the line end
    std::string means;
    std::string advice;
    Level level = Level::Normal;
    Event event = Event::None;
};

// All messages, in the order of the document.
const std::vector<Message>& Messages();

// The messages of a document of that form.
std::vector<Message> ParseMessages(std::string_view document);

} // namespace maravel::diagnosis
