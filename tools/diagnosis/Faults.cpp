#include "Faults.h"

#include <algorithm>
#include <array>

namespace maravel::diagnosis {
namespace {

constexpr Severity F = Severity::Fault;
constexpr Severity W = Severity::Warning;
constexpr Severity H = Severity::Hint;

constexpr Fault kFaults[] = {
    {FaultId::TwoHosts, "two-hosts", F,
     "Two programs wrote to this log at the same time, so that parts of it are lost.",
     "End one of the two programs that use the adapter, then start the other one again; one program at a time can own the log."},
    {FaultId::LoggingOff, "logging-off", F,
     "The registry switches the log off, so that this file tells nothing of later runs.",
     "Set the DWORD value EnableLog to 1 in HKEY_LOCAL_MACHINE\\SOFTWARE\\maravel\\PLK\\AdapterZorvik, then start the program again."},
    {FaultId::SdkNotSet, "sdk-not-set", F,
     "The variable ZORVIK_HOME is not set or names no folder, so that the SDK was not found.",
     "Install the SDK or set ZORVIK_HOME to its folder (the one that holds 'bin', without quotes), then restart the program."},
    {FaultId::LibraryNotLoaded, "library-not-loaded", F, "The SDK's library ZvkC.dll did not load from {0}.",
     "Repair the SDK's installation; 'camhost doctor' looks at the file."},
    {FaultId::TransformNotLoaded, "transform-not-loaded", F,
     "The SDK's library ZvkImageTransform.dll did not load from {0}.",
     "Repair the SDK's installation; 'camhost doctor' looks at the file."},
    {FaultId::SdkTooOld, "sdk-too-old", F,
     "The SDK is too old or of another kind: its library lacks the function {0}.",
     "Install an SDK version that the adapter supports."},
    {FaultId::SdkDoesNotStart, "sdk-does-not-start", F, "The SDK refused to start: {reason}.",
     "{reason-advice}"},
    {FaultId::CameraListFails, "camera-list-fails", F, "The SDK could not list its cameras: {reason}.",
     "Restart the program; if it stays, restart the machine and look at the transport layers that are installed."},
    {FaultId::NoCamera, "no-camera", F, "The SDK runs and found no camera.",
     "Look at power, cable and link lights; the camera's address must be of the network adapter's subnet; let the program and UDP port 3956 through the firewall; install the transport layer of the camera's kind. The list is read at the program's start only."},
    {FaultId::OutOfMemory, "out-of-memory", F, "There was not enough memory: {text}",
     "Close other programs, use a smaller region, or add memory."},
    {FaultId::CameraInUse, "camera-in-use", F,
     "{camera} could not be opened: another program has it ({reason}).",
     "Close the other program (a viewer, a second host, on another machine too); a program that crashed holds a network camera for some seconds more."},
    {FaultId::CameraGone, "camera-gone", F, "{camera} was listed at the start and is gone now ({reason}).",
     "Look at its power and cable, then restart the program: the list is read at its start only."},
    {FaultId::CameraNotOpened, "camera-not-opened", F, "{camera} could not be opened: {reason}.",
     "Disconnect the camera from its power for ten seconds, then restart the program."},
    {FaultId::Unplugged, "unplugged", F, "{camera} was lost while it was in use{detail}.",
     "Look at the camera's power supply, cable and plugs, and at the switch; then restart the program ('camhost grab --reconnect' goes on by itself)."},
    {FaultId::TriggerRefused, "trigger-refused", F, "{camera} refused the software trigger ({reason}).",
     "Set TriggerSource to Software and TriggerMode to On, or use the trigger mode that the wiring asks for."},
    {FaultId::AllIncomplete, "all-frames-incomplete", F,
     "{camera} sends, but not one of its {n} frames arrived complete.",
     "The path loses packets: set the packet size to what every switch on the way takes (1500 always works), enlarge the network adapter's receive buffers, change the cable, connect one camera at a time."},
    {FaultId::NoFrames, "no-frames", F,
     "{camera} takes commands, was started, and sent no frame within {seconds} s.",
     "Image data does not get through: allow the program in the firewall (incoming UDP), switch off filter drivers of virus scanners, free bandwidth of the link. A camera whose features were changed may still wait for a trigger: TriggerMode."},
    {FaultId::WaitingForPulses, "waiting-for-pulses", F,
     "{camera} waits for a hardware trigger, and no pulse came within {seconds} s{detail}.",
     "Look at the wiring, the voltage and the edge of that input, and at the source of the pulses; use free run to see whether the camera is well."},
    {FaultId::RegionRefused, "region-refused", F, "{camera} refused the image's size or place: {text}",
     "InvalidValue: use values that the camera's increments allow (multiples of 8 as a rule). InvalidAccess: stop the stream first."},
    {FaultId::FormatChanged, "format-changed", F,
     "{camera} changed its image format or size while it streamed, so that images are lost: {text}",
     "Stop the acquisition before PixelFormat or the region is changed, then start it again."},
    {FaultId::StartFailed, "start-failed", F, "{camera} did not start: {text}",
     "Start it again; if it stays, release the channel and open it anew, then disconnect the camera from its power."},
    {FaultId::ConversionUnknown, "conversion-unknown", F,
     "An image could not be converted and was lost: {text}",
     "Set PixelFormat to one that the image-transform library converts (Mono8, BayerRG8, RGB8)."},
    {FaultId::BuffersLost, "buffers-lost", F,
     "The SDK did not take buffers back, so that fewer and fewer are left: {text}",
     "Stop and start the acquisition; if it stays, restart the program."},
    {FaultId::PacketsLost, "packets-lost", F, "{camera}: {n} of {total} frames arrived incomplete.",
     "Packets are lost on the way: set the packet size to what every switch takes, enlarge the network adapter's receive buffers, give each camera a link of its own or lower the frame rate."},
    {FaultId::HostTooSlow, "host-too-slow", F,
     "The program fetches images of {camera} too slowly: {n} frames found no free buffer{detail}.",
     "Let the program fetch every image at once and work on it elsewhere, or lower the camera's frame rate."},
    {FaultId::FramesMissing, "frames-missing", W,
     "{camera}: {n} frames never arrived (gaps in the frame numbers, {total} arrived).",
     "The whole frame was lost on the way or the machine was too busy: look at the receive buffers, the load of the machine, and several cameras on one link."},
    {FaultId::WrongOrder, "wrong-order", F, "The program called the adapter when it cannot be called: {text}",
     "This is for the program's maker: call GetVideoChannel for index 0 first, no callback after the last ReleaseVideoChannel, and none from inside another call."},
    {FaultId::WrongChannel, "wrong-channel", F, "The program named a channel that does not exist: {text}",
     "This is for the program's maker: use the channelID of the descriptor; fewer cameras than expected were found at the start."},
    {FaultId::NullPointer, "null-pointer", F, "The program passed a null pointer: {text}",
     "This is for the program's maker: pass the record or buffer that the call asks for."},
    {FaultId::FeatureMissing, "feature-missing", F,
     "The program asked for a feature that the camera does not have: {text}",
     "Case matters; 'camhost describe CHANNEL' lists the names of this camera."},
    {FaultId::PacketSizeNotSettled, "packet-size-not-settled", W,
     "The size of the packets was not settled within two seconds when a camera was opened.",
     "The path blocks large or test packets: look at the firewall, and switch jumbo frames on in the network adapter and every switch, or nowhere."},
    {FaultId::ExposureRefused, "exposure-refused", F, "{camera} refused the exposure time: {text}",
     "InvalidValue: it is outside the camera's range ('camhost describe' shows ExposureTime)."},
    {FaultId::NoExposure, "no-exposure", W,
     "A camera has neither ExposureTime nor ExposureTimeAbs, so that the program's exposure time has no effect.",
     "Set the exposure in the camera by the feature that its manual names."},
    {FaultId::HostKilled, "host-killed", W,
     "The log ends without a shut-down: the program crashed, was killed, or still ran when the file was copied.",
     "Look for a crash of the program at that time; a running program needs nothing."},
    {FaultId::FeatureRefused, "feature-refused", W, "{camera} refused a setting: {text}",
     "InvalidAccess: the feature is locked now, often while streaming. InvalidValue: an increment or an entry that the camera does not have."},
    {FaultId::SmallPackets, "small-packets", W,
     "{camera}: the network path allows packets of {0} bytes only, which costs a lot of processor time and frames.",
     "Look at the MTU of the network adapter (1500 at least, 9000 with jumbo frames) and at the switch."},
    {FaultId::AutoExposure, "auto-exposure", H,
     "{camera} sets its exposure itself (ExposureAuto is on): the program's exposure time has no effect.",
     "Set ExposureAuto to Off if the program's exposure is to count."},
    {FaultId::SmallishPackets, "no-jumbo-frames", H,
     "{camera}: the network path allows packets of {0} bytes; jumbo frames would cost less processor time.",
     "Switch jumbo frames on in the network adapter and every switch on the way."},
};

constexpr bool InOrder()
{
    for (std::size_t i = 0; i < std::size(kFaults); ++i) {
        if (kFaults[i].id != static_cast<FaultId>(i)) {
            return false;
        }
    }
    return std::size(kFaults) == static_cast<std::size_t>(FaultId::Count);
}
static_assert(InOrder(), "a fault is found by its number");

constexpr TextRule kTextRules[] = {
    {FaultId::SdkNotSet, "ZvkAPI not found.", nullptr, nullptr},
    {FaultId::SdkTooOld, "Could not find %s", nullptr, nullptr},
    {FaultId::SdkDoesNotStart, "FAILED. Reason=%s (%d). Zorvik", nullptr, nullptr},
    {FaultId::CameraListFails, "Error while enumerating cameras", nullptr, nullptr},
    {FaultId::OutOfMemory, "ERROR. Out of memory.", nullptr, nullptr},
    {FaultId::OutOfMemory, "No memory for", nullptr, nullptr},
    {FaultId::CameraInUse, "Error while opening camera.", nullptr, " ZvkErrorInvalidAccess ZvkErrorInUse "},
    {FaultId::CameraGone, "Error while opening camera.", nullptr,
     " ZvkErrorNotFound ZvkErrorIO ZvkErrorNotAvailable "},
    {FaultId::CameraNotOpened, "Error while opening camera.", nullptr, nullptr},
    {FaultId::CameraNotOpened, "ZvkFeaturesList failed.", nullptr, nullptr},
    {FaultId::CameraNotOpened, "failed. ChannelID=%d. Reason=%s (%d)", "InitializeVideoChannel", nullptr},
    {FaultId::Unplugged, "AcquisitionStop command failed.", nullptr,
     " ZvkErrorIO ZvkErrorNotFound ZvkErrorNotAvailable "},
    {FaultId::TriggerRefused, "TriggerSoftware failed.", nullptr, nullptr},
    {FaultId::TriggerRefused, "ZvkFeatureEnumSet TriggerSource failed.", nullptr, nullptr},
    {FaultId::RegionRefused, "ERROR. ZvkFeatureIntSet", "SetupCommonParams", nullptr},
    {FaultId::RegionRefused, "Payload size changed from", nullptr, nullptr},
    {FaultId::StartFailed, "ERROR. ZvkFrameAnnounce failed.", nullptr, nullptr},
    {FaultId::StartFailed, "ERROR. ZvkCaptureStart failed.", nullptr, nullptr},
    {FaultId::StartFailed, "ERROR. ZvkCaptureFrameQueue failed.", nullptr, nullptr},
    {FaultId::StartFailed, "ERROR. AcquisitionStart failed.", nullptr, nullptr},
    {FaultId::StartFailed, "Frames of an earlier start cannot be taken back.", nullptr, nullptr},
    {FaultId::StartFailed, "ZvkFeatureEnumGet 'PixelFormat'.", nullptr, nullptr},
    {FaultId::StartFailed, "ZvkFeatureEnumAsInt", nullptr, nullptr},
    {FaultId::StartFailed, "The channel captures nothing", nullptr, nullptr},
    {FaultId::FormatChanged, "does not fit a channel started for", nullptr, nullptr},
    {FaultId::FormatChanged, "does not fit the conversion image", nullptr, nullptr},
    {FaultId::FormatChanged, "was converted to", nullptr, nullptr},
    {FaultId::ConversionUnknown, "ZvkSetImageInfoFromPixelFormat", nullptr, nullptr},
    {FaultId::ConversionUnknown, "ZvkImageTransform failed.", nullptr, nullptr},
    {FaultId::ConversionUnknown, "does not fit", nullptr, nullptr},
    {FaultId::BuffersLost, "Error while requeueing", nullptr, nullptr},
    {FaultId::BuffersLost, "ERROR while re-queuing frame.", nullptr, nullptr},
    {FaultId::BuffersLost, "%s, (%d)", nullptr, nullptr},
    {FaultId::WrongOrder, "Invalid class pointer.", nullptr, nullptr},
    {FaultId::WrongOrder, "INVALID class pointer.", nullptr, nullptr},
    {FaultId::WrongOrder, "Called from inside another call", nullptr, nullptr},
    {FaultId::WrongChannel, "Invalid channelID=%lld.", nullptr, nullptr},
    {FaultId::NullPointer, "Null pointer passed", nullptr, nullptr},
    {FaultId::NullPointer, "Invalid destination pointer.", nullptr, nullptr},
    {FaultId::NullPointer, "No buffer for the error text.", nullptr, nullptr},
    {FaultId::FeatureMissing, "ERROR. Feature '%s' not found", nullptr, nullptr},
    {FaultId::FeatureMissing, "ERROR. channelID=%lld. Feature '%s' not found.", nullptr, nullptr},
    {FaultId::PacketSizeNotSettled, "ERROR. Timeout exceeded. Feature='%s'.", nullptr, nullptr},
    {FaultId::ExposureRefused, "ERROR. ZvkFeatureFloatSet ExposureTime", "SetupCommonParams", nullptr},
    {FaultId::NoExposure, "Neither ExposureTime nor", nullptr, nullptr},
    {FaultId::FeatureRefused, "for feature '%s' failed.", "WriteValue", nullptr},
    {FaultId::FeatureRefused, "ERROR. ZvkFeatureEnumSet", nullptr, nullptr},
    {FaultId::LoggingOff, "Error while accessing registry. %d %d", nullptr, nullptr},
};

} // namespace

std::span<const Fault> Faults()
{
    return kFaults;
}

const Fault& Describe(FaultId id)
{
    return kFaults[static_cast<std::size_t>(id)];
}

const Fault* FindFault(std::string_view name)
{
    const auto found = std::ranges::find(kFaults, name, &Fault::name);
    return found == std::end(kFaults) ? nullptr : &*found;
}

const char* SeverityName(Severity severity)
{
    constexpr std::array kNames = {"fault", "warning", "hint"};
    return kNames[static_cast<std::size_t>(severity)];
}

std::span<const TextRule> TextRules()
{
    return kTextRules;
}

} // namespace maravel::diagnosis
