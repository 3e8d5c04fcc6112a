// The faults that the log tells of. One table: what they are called, how bad they are, what to do. The order
// is that of cause and effect: of two that were found, the earlier one is named first.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace maravel::diagnosis {

enum class Severity : std::uint8_t
{
    Fault,   // images are missing or wrong
    Warning, // they may be
    Hint     // worth knowing; a log with nothing else is healthy
};

enum class FaultId : std::uint8_t
{
    TwoHosts,
    LoggingOff,
    SdkNotSet,
    LibraryNotLoaded,
    TransformNotLoaded,
    SdkTooOld,
    SdkDoesNotStart,
    CameraListFails,
    NoCamera,
    OutOfMemory,
    CameraInUse,
    CameraGone,
    CameraNotOpened,
    Unplugged,
    TriggerRefused,
    AllIncomplete,
    NoFrames,
    WaitingForPulses,
    RegionRefused,
    FormatChanged,
    StartFailed,
    ConversionUnknown,
    BuffersLost,
    PacketsLost,
    HostTooSlow,
    FramesMissing,
    WrongOrder,
    WrongChannel,
    NullPointer,
    FeatureMissing,
    PacketSizeNotSettled,
    ExposureRefused,
    NoExposure,
    HostKilled,
    FeatureRefused,
    SmallPackets,
    AutoExposure,
    SmallishPackets,
    Count
};

struct Fault
{
    FaultId id;
    const char* name; // as programs read it
    Severity severity;
    const char* sentence; // {camera}, {reason}, {0} ... stand for what the line says
    const char* advice;
};

std::span<const Fault> Faults();
const Fault& Describe(FaultId id);
const Fault* FindFault(std::string_view name);
const char* SeverityName(Severity severity);

// A message that is the fault itself.
struct TextRule
{
    FaultId id;
    const char* part;      // of the message's text, as the source has it
    const char* operation; // null: any
    const char* reasons;   // names of the SDK's results, with blanks around each; null: any
};
std::span<const TextRule> TextRules();

} // namespace maravel::diagnosis
