// Start and stop of streaming, and the question whether an image waits.
#include "acquisition/Frames.h"
#include "core/Callbacks.h"
#include "core/CameraAccess.h"
#include "sdk/Names.h"

#include <set>

namespace maravel {

namespace {

constexpr const char* kStart = "StartAcquisition";
constexpr const char* kStop = "StopAcquisition";

// Whether a step of a start succeeded; reports it to the host when not.
bool Succeeded(unsigned line, const ChannelCall& call, const char* step, ZvkError_t result)
{
    return result == ZvkErrorSuccess ||
           ReportError(line, call.errorText, "%s: ERROR. %s failed. ChannelID=%lld. Reason=%s (%d).", kStart,
                       step, call.channelID, ErrorCodeName(result), result);
}

// Whether the SDK gave something back; only the log hears of it when not.
bool TookBack(const ChannelCall& call, const Holding& holding)
{
    const ZvkError_t result = TakeBack(call.api, call.channel, holding);
    if (result != ZvkErrorSuccess) {
        WriteLog(__LINE__, "%s: ERROR. %s failed. ChannelID=%lld. Reason=%s (%d).\n", kStart, holding.entry,
                 call.channelID, ErrorCodeName(result), result);
    }
    return result == ZvkErrorSuccess;
}

// Undoes a capture whose frames could not all be queued, so that the next start begins from the first step.
void AbandonCapture(const ChannelCall& call)
{
    if (TookBack(call, kQueue)) {
        TookBack(call, kFrames);
    }
    TookBack(call, kCapture);
}

// Takes back what a start or stop that failed half-way left with the SDK; true when nothing is left there.
bool TakeBackLeftovers(const ChannelCall& call)
{
    for (const Holding& holding : {kCapture, kQueue, kFrames}) {
        if (call.channel.*holding.held && !TookBack(call, holding)) {
            return false;
        }
    }
    return true;
}

bool AnnounceFrames(const ChannelCall& call)
{
    for (const ZvkFrame_t& frame : call.channel.frames) {
        if (!Succeeded(__LINE__, call, "ZvkFrameAnnounce",
                       call.api.ZvkFrameAnnounce(call.channel.cameraHandle, &frame, sizeof frame))) {
            TookBack(call, kFrames);
            return false;
        }
        call.channel.bFramesAnnounced = true;
    }
    WriteLog(__LINE__, "%s: ZvkFrameAnnounce success.\n", kStart);
    return true;
}

bool QueueFrames(const ChannelCall& call)
{
    for (const ZvkFrame_t& frame : call.channel.frames) {
        const ZvkError_t result =
            call.api.ZvkCaptureFrameQueue(call.channel.cameraHandle, &frame, &FrameReceivedCallback);
        if (result != ZvkErrorSuccess) {
            ReportError(__LINE__, call.errorText,
                        "%s: ERROR. ZvkCaptureFrameQueue failed. ChannelID=%lld. Reason=%s (%d).\n", kStart,
                        call.channelID, ErrorCodeName(result), result);
            AbandonCapture(call);
            return false;
        }
        call.channel.bFramesQueued = true;
    }
    return true;
}

// Announces, starts capturing, queues. After a failed capture start the frames stay announced.
bool SetUpCapture(const ChannelCall& call)
{
    const ZvkHandle_t camera = call.channel.cameraHandle;
    if (!AnnounceFrames(call) ||
        !Succeeded(__LINE__, call, "ZvkCaptureStart", call.api.ZvkCaptureStart(camera))) {
        return false;
    }
    call.channel.bCaptureRunning = true;
    WriteLog(__LINE__, "%s: ZvkCaptureStart success. ChannelID=%lld Camera=0x%08X\n", kStart, call.channelID,
             HandleBits(camera));
    return QueueFrames(call);
}

// Queues all frames that wait but the first `kept` again: they came from a camera that refused to start.
void GiveBackYoungest(const ChannelCall& call, std::size_t kept)
{
    for (;;) {
        ZvkFrame_t* frame = nullptr;
        {
            const MutexLock lock(g_frameMutex);
            if (call.channel.fifo.Count() <= kept) {
                return;
            }
            frame = call.channel.fifo.TakeYoungest();
            --call.channel.framesComplete;
        }
        const ZvkError_t result =
            call.api.ZvkCaptureFrameQueue(call.channel.cameraHandle, frame, &FrameReceivedCallback);
        WriteLog(
            __LINE__,
            "%s: WARNING. A frame came although AcquisitionStart failed. We queue it again: %s (%d). ChannelID=%lld.\n",
            kStart, ErrorCodeName(result), result, call.channelID);
    }
}

// Runs "AcquisitionStart". Frames may come before the command returns, so the camera, which is the one entry
// of `acquiring`, counts as acquiring from before it; when the command fails, nothing of that stays.
bool StartCamera(const ChannelCall& call, std::set<ZvkHandle_t>& acquiring)
{
    const ZvkHandle_t camera = call.channel.cameraHandle;
    bool wasAcquiring = false;
    std::size_t waiting = 0;
    {
        const MutexLock lock(g_frameMutex);
        wasAcquiring = g_acquiringCameras.contains(camera);
        if (!wasAcquiring) {
            g_acquiringCameras.insert(acquiring.extract(camera));
        }
        waiting = call.channel.fifo.Count();
    }
    if (Succeeded(__LINE__, call, "AcquisitionStart",
                  call.api.ZvkFeatureCommandRun(camera, "AcquisitionStart"))) {
        WriteLog(__LINE__, "%s: ZvkFeatureCommandRun->AcquisitionStart success.\n", kStart);
        return true;
    }
    if (!wasAcquiring) {
        {
            const MutexLock lock(g_frameMutex);
            g_acquiringCameras.erase(camera);
        }
        GiveBackYoungest(call, waiting);
    }
    return false;
}

bool FireSoftwareTrigger(const ChannelCall& call)
{
    if (!Succeeded(__LINE__, call, "TriggerSoftware",
                   call.api.ZvkFeatureCommandRun(call.channel.cameraHandle, "TriggerSoftware"))) {
        return false;
    }
    WriteLog(__LINE__, "%s: ZvkFeatureCommandRun->TriggerSoftware success.\n", kStart);
    return true;
}

// Why no frame will come of a start that succeeded; null when frames will.
const char* WhyNothingIsCaptured(const VideoChannelData& channel)
{
    {
        const MutexLock lock(g_frameMutex);
        if (!g_acquiringCameras.contains(channel.cameraHandle)) {
            return "AcquisitionStart had failed";
        }
    }
    return channel.bCaptureRunning && channel.bFramesQueued ? nullptr : "a stop had failed half-way";
}

bool Start(const ChannelCall& call) MARAVEL_REQUIRES(g_adapterMutex)
{
    VideoChannelData& channel = call.channel;
    const bool wasStarted = channel.bAcquisitionStarted;
    // Buffers that the SDK still knows must not be touched before they are back.
    if (!wasStarted && !TakeBackLeftovers(call)) {
        return ReportError(__LINE__, call.errorText,
                           "%s: ERROR. Frames of an earlier start cannot be taken back. ChannelID=%lld.",
                           kStart, call.channelID);
    }
    if (!AllocateVideoBuffers(call.channelID)) {
        return ReportError(__LINE__, call.errorText, "%s: ERROR. AllocVideoBuffers failed.", kStart);
    }
    const bool manual = channel.triggerMode == TriggerModeManual;
    std::set<ZvkHandle_t> acquiring;
    if (!manual || !wasStarted) {
        acquiring.insert(channel.cameraHandle); // while a lack of memory still leaves the channel as it was
    }
    if (!wasStarted && !SetUpCapture(call)) {
        return false;
    }
    channel.bAcquisitionStarted = true;

    bool succeeded = false;
    if (!acquiring.empty()) {
        WriteLog(__LINE__, "%s: ZvkCaptureFrameQueue success.\n", kStart);
        succeeded = StartCamera(call, acquiring);
    }
    if (manual && FireSoftwareTrigger(call)) {
        succeeded = true;
    }
    if (!succeeded) {
        return false;
    }
    if (const char* reason = WhyNothingIsCaptured(channel); reason != nullptr) {
        WriteLog(__LINE__,
                 "%s: WARNING. The channel captures nothing: %s. Stop it, then start it. ChannelID=%lld.\n",
                 kStart, reason, call.channelID);
    }
    return true;
}

bool Stopped(unsigned line, const ChannelCall& call, const char* step, ZvkError_t result)
{
    return result == ZvkErrorSuccess ||
           ReportError(line, call.errorText, "%s: ERROR. %s failed. channelID=%lld. Reason=%s (%d).", kStop,
                       step, call.channelID, ErrorCodeName(result), result);
}

bool Stop(const ChannelCall& call)
{
    VideoChannelData& channel = call.channel;
    const ZvkHandle_t camera = channel.cameraHandle;
    if (!Stopped(__LINE__, call, "AcquisitionStop command",
                 call.api.ZvkFeatureCommandRun(camera, "AcquisitionStop"))) {
        return false;
    }
    {
        const MutexLock lock(g_frameMutex);
        g_acquiringCameras.erase(camera);
    }
    WriteLog(__LINE__, "%s. channelID=%d Camera: 0x%08X\n", kStop, call.ChannelNumber(), HandleBits(camera));
    for (const Holding& holding : {kCapture, kQueue, kFrames}) {
        if (!Stopped(__LINE__, call, holding.entry, TakeBack(call.api, channel, holding))) {
            return false;
        }
    }
    const auto [complete, incomplete] = ForgetFrames(channel, Patience::Endless);
    WriteLog(__LINE__, "%s. channelID=%d FramesReceived=%u (Complete=%u, Incomplete=%u)\n", kStop,
             call.ChannelNumber(), complete + incomplete, complete, incomplete);
    return true;
}

} // namespace

std::int32_t MARAVEL_CALL StartAcquisition(char* errorText, std::int64_t channelID) noexcept
{
    WriteLog(__LINE__, "%s: channelID=%lld\n", kStart, static_cast<long long>(channelID));
    return HostCall({__LINE__, kStart, NoSuchChannelText::CamerasPeriod}, errorText, channelID, {}, &Start);
}

std::int32_t MARAVEL_CALL StopAcquisition(char* errorText, std::int64_t channelID) noexcept
{
    WriteLog(__LINE__, "%s: channelID=%lld\n", kStop, static_cast<long long>(channelID));
    return HostCall({__LINE__, kStop, NoSuchChannelText::CamerasPeriod}, errorText, channelID, {}, &Stop);
}

std::int32_t MARAVEL_CALL QueryImageStatus(char*, std::int64_t channelID, std::uint32_t* imageStatus) noexcept
{
    std::uint32_t status = ImageStatusPending;
    Guarded(__LINE__, "QueryImageStatus", nullptr, [&]() MARAVEL_REQUIRES(g_adapterMutex) -> std::int32_t {
        const VideoChannelData* channel = FindChannel(channelID);
        if (channel == nullptr) {
            status = ImageStatusUnavailable;
            return MARAVEL_SUCCESS;
        }
        const MutexLock frameLock(g_frameMutex);
        status = channel->fifo.IsEmpty() ? ImageStatusPending : ImageStatusReady;
        return MARAVEL_SUCCESS;
    });
    if (imageStatus != nullptr) {
        *imageStatus = status;
    }
    return MARAVEL_SUCCESS;
}

} // namespace maravel
