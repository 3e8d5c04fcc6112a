#include "sweep/SweepHost.h"

#include "sweep/Scenarios.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <sstream>
#include <thread>

namespace maravel::sweep {

using test::ExecutableFolder;
using test::SetEnvironment;

namespace {

// More channels or list entries than this no scenario has: an endless list is a fault, not a wait.
constexpr int kMaxListed = 1000;
constexpr int kUnloadAttempts = 10'000;

// What a closing step leaves behind when the SDK refuses it is in the way of the next one. An image that
// waits is still the host's then, and its frame is queued again once the host has it.
struct Excuse
{
    const char* violation;
    const char* refused;
};
constexpr Excuse kExcuses[] = {{"ZvkFrameRevokeAll: a frame is queued", "ZvkCaptureQueueFlush"},
                               {"ZvkCameraClose: the camera is capturing", "ZvkCaptureEnd"},
                               {"ZvkCameraClose: frames are announced", "ZvkFrameRevokeAll"},
                               {"ZvkShutdown: camera ", "ZvkCameraClose"},
                               {"ZvkCaptureFrameQueue: the camera is not capturing", "ZvkCaptureQueueFlush"},
                               {"ZvkCaptureFrameQueue: the camera is not capturing", "ZvkFrameRevokeAll"}};

bool IsExcused(const std::string& violation, const std::vector<std::string>& calls)
{
    const auto wasRefused = [&](const char* entry) {
        return std::any_of(calls.begin(), calls.end(), [&](const std::string& call) {
            return call.starts_with(std::string(entry) + "(") && !call.ends_with(" = 0");
        });
    };
    return std::any_of(std::begin(kExcuses), std::end(kExcuses), [&](const Excuse& excuse) {
        return violation.starts_with(excuse.violation) && wasRefused(excuse.refused);
    });
}

std::string SdkFolder()
{
    const std::string bin = ExecutableFolder();
    return bin.substr(0, bin.find_last_of(PathSeparator)) + PathSeparator + "sdk";
}

} // namespace

SweepHost::SweepHost(bool isUnkind) : sdk(SdkFolder())
{
    SetEnvironment("ZORVIK_HOME", SdkFolder());
    if (isUnkind) {
        unkind_ = std::make_unique<test::UnkindSdk>(sdk, test::ThreadsEndWhileUnloading());
        unkind_->onMessages = [this]() { CallFromInside(); };
    }
    EndFaults();
    Load();
}

SweepHost::~SweepHost()
{
    Unload();
    sdk.SimReset();
    sdk.SimTransformReset();
}

void SweepHost::Load()
{
    adapter_ = LoadLibraryA((ExecutableFolder() + PathSeparator + MARAVEL_ADAPTER_FILE).c_str());
    ASSERT_NE(adapter_, nullptr);
    const FARPROC entry = GetProcAddress(adapter_, "GetVideoChannel");
    ASSERT_NE(entry, nullptr);
    std::memcpy(&getVideoChannel_, &entry, sizeof entry);
    // The callbacks, so that they can be called whatever became of the channels.
    Open();
    ASSERT_NE(callbacks_.ReleaseVideoChannel, nullptr) << text_.AsText();
    Release(0);
}

void SweepHost::Unload()
{
    if (adapter_ != nullptr) {
        EXPECT_NE(FreeLibrary(adapter_), 0);
        adapter_ = nullptr;
        callbacks_ = {};
    }
}

void SweepHost::Reload()
{
    Unload();
    const std::vector<Answer> answers = answers_;
    // Loading opens once, and that is no part of anyone's scenario.
    const Counts counts = {Calls(SdkLibrary::Runtime), Calls(SdkLibrary::Transform),
                           FaultsFired(SdkLibrary::Runtime), FaultsFired(SdkLibrary::Transform),
                           Violations()};
    EndFaults();
    Load();
    EndFaults();
    beforeReload_ = counts;
    answers_ = answers;
}

std::string SweepHost::LeftModules()
{
    const auto loaded = []() {
        std::string names;
        for (const char* name : {"ZvkC.dll", "ZvkImageTransform.dll", MARAVEL_ADAPTER_FILE}) {
            names += test::IsModuleLoaded(name) ? std::string(name) + " " : "";
        }
        return names;
    };
    // A library goes when the last of its threads has left it, which on Windows is a moment after its work
    // ended.
    std::string left = loaded();
    for (int attempt = 0; !left.empty() && attempt < kUnloadAttempts; ++attempt) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        left = loaded();
    }
    return left;
}

void SweepHost::BeginRecord()
{
    answers_.clear();
    stopRefused_ = -1;
    startAt_ = std::string::npos;
    hasSilentStart_ = false;
    earlierLog_.clear();
    std::ifstream file(machine.LogFile(), std::ios::binary | std::ios::ate);
    logStart_ = file ? static_cast<std::size_t>(file.tellg()) : 0;
}

std::string SweepHost::Log() const
{
    std::ifstream file(machine.LogFile(), std::ios::binary);
    file.seekg(static_cast<std::streamoff>(logStart_));
    std::string log{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    std::erase(log, '\r');
    return earlierLog_ + log;
}

std::uint64_t SweepHost::Calls(SdkLibrary library) const
{
    return library == SdkLibrary::Runtime
               ? beforeReload_.calls + sdk.SimCallCount(nullptr) - sdk.SimCallCount("ZvkShutdown")
               : beforeReload_.transformCalls + sdk.SimTransformCallCount(nullptr);
}

std::uint64_t SweepHost::FaultsFired(SdkLibrary library) const
{
    return library == SdkLibrary::Runtime ? beforeReload_.faults + sdk.SimFaultsFired()
                                          : beforeReload_.transformFaults + sdk.SimTransformFaultsFired();
}

std::vector<std::string> SweepHost::Violations() const
{
    std::vector<std::string> violations = beforeReload_.violations;
    if (sdk.SimViolations(nullptr, 0) != 0) {
        const std::vector<std::string> calls = sdk.Calls();
        std::istringstream lines(sdk.Violations());
        for (std::string line; std::getline(lines, line);) {
            if (!IsExcused(line, calls)) {
                violations.push_back(line);
            }
        }
    }
    return violations;
}

void SweepHost::FailCall(SdkLibrary library, std::uint32_t nth, std::int32_t code, bool forever)
{
    const auto fail = library == SdkLibrary::Runtime ? sdk.SimFailCall : sdk.SimTransformFailCall;
    fail(nullptr, nth, code, forever ? 1 : 0);
}

void SweepHost::EndFaults()
{
    beforeReload_ = {};
    sdk.SimReset();
    sdk.SimTransformReset();
    sdk.SimSetDescription(kSweepCameras.c_str());
    if (unkind_ != nullptr) {
        unkind_->Install();
    }
}

// A host whose timer polls while an SDK call lets messages through.
void SweepHost::CallFromInside()
{
    if (callbacks_.QueryImageStatus == nullptr) {
        return;
    }
    char text[MARAVEL_TEXT_SIZE] = "";
    std::uint32_t status = 0xDEAD;
    EXPECT_EQ(callbacks_.QueryImageStatus(text, 0, &status), MARAVEL_SUCCESS);
    EXPECT_EQ(status, static_cast<std::uint32_t>(ImageStatusPending));
    EXPECT_EQ(callbacks_.GetImage(text, 0, text, &status), MARAVEL_FAILURE);
}

// Called when an acquisition ends. Only the adapter's own warning counts: whatever the frames' arrival logs,
// a camera that sends nothing makes nobody write.
void SweepHost::CheckStream()
{
    if (startAt_ != std::string::npos && !hasImage_) {
        hasSilentStart_ |= Log().find("captures nothing", startAt_) == std::string::npos;
    }
    startAt_ = std::string::npos;
}

char* SweepHost::ClearedText()
{
    text_.Text()[0] = '\0';
    return text_.Text();
}

void SweepHost::Note(const char* operation, TextRule rule, std::int32_t status, std::int32_t detail)
{
    answers_.push_back({operation, rule, status, detail, text_.Text(), sdk.State().started != 0});
}

void SweepHost::Open()
{
    earlierLog_ = Log();
    logStart_ = 0; // a start empties the log
    for (int index = 0; index < kMaxListed; ++index) {
        test::Guarded<VideoChannelDescriptor> descriptor;
        descriptor->structSize = sizeof(VideoChannelDescriptor);
        const std::int32_t status = getVideoChannel_(ClearedText(), index, descriptor.Get());
        const bool isChannel = status == MARAVEL_SUCCESS;
        Note("GetVideoChannel", isChannel ? TextRule::WithOpenResult : TextRule::MayEndSilently, status,
             isChannel ? descriptor->openResult : 0);
        if (!isChannel) {
            return;
        }
        callbacks_ = *descriptor;
    }
    ADD_FAILURE() << "the list of channels does not end";
}

void SweepHost::SetUp(int channel, int acqContinuous, int acqTriggered, int lowToHigh)
{
    CommonParams params = {};
    params.exposure = 0.01;
    params.acqContinuous = acqContinuous;
    params.acqTriggered = acqTriggered;
    params.acqTriggerLowToHigh = lowToHigh;
    params.roiwidth = 32;
    params.roiheight = 16;
    Note("SetupCommonParams", TextRule::MayWarn,
         callbacks_.SetupCommonParams(ClearedText(), channel, &params));
}

void SweepHost::Start(int channel)
{
    const std::size_t logEnd = Log().size();
    const std::int32_t status = callbacks_.StartAcquisition(ClearedText(), channel);
    Note("StartAcquisition", TextRule::MayWarn, status);
    startAt_ = status == MARAVEL_SUCCESS ? logEnd : std::string::npos;
    hasImage_ = false;
}

void SweepHost::Stop(int channel)
{
    CheckStream();
    const std::int32_t status = callbacks_.StopAcquisition(ClearedText(), channel);
    Note("StopAcquisition", TextRule::WithFailure, status);
    stopRefused_ = status == MARAVEL_SUCCESS ? -1 : channel;
}

void SweepHost::Query(int channel)
{
    std::uint32_t imageStatus = 0xDEAD;
    const std::int32_t status = callbacks_.QueryImageStatus(ClearedText(), channel, &imageStatus);
    Note("QueryImageStatus", TextRule::WithFailure, status, static_cast<std::int32_t>(imageStatus));
}

void SweepHost::Attributes(int channel)
{
    test::Guarded<ImageAttributes> attributes;
    attributes->structSize = sizeof(ImageAttributes);
    std::uint32_t imageStatus = 0xDEAD;
    const std::int32_t status =
        callbacks_.GetImageAttributes(ClearedText(), channel, attributes.Get(), &imageStatus);
    Note("GetImageAttributes", TextRule::WithFailure, status, static_cast<std::int32_t>(imageStatus));
}

void SweepHost::Fetch(int channel)
{
    std::uint32_t imageStatus = 0xDEAD;
    const std::int32_t status = callbacks_.GetImage(ClearedText(), channel, image_.Data(), &imageStatus);
    Note("GetImage", TextRule::MayWarn, status, static_cast<std::int32_t>(imageStatus));
    hasImage_ |= imageStatus == ImageStatusReady;
}

std::string SweepHost::Read(int channel, const std::string& feature)
{
    value_.Text()[0] = '\0';
    Note("ReadValue", TextRule::WithFailure,
         callbacks_.ReadValue(ClearedText(), channel, feature.c_str(), value_.Text()));
    return value_.Text();
}

void SweepHost::Write(int channel, const std::string& feature, const std::string& value)
{
    Note("WriteValue", TextRule::WithFailure,
         callbacks_.WriteValue(ClearedText(), channel, feature.c_str(), value.c_str()));
}

void SweepHost::Execute(int channel, const std::string& feature)
{
    Note("ExecuteCommand", TextRule::WithFailure,
         callbacks_.ExecuteCommand(ClearedText(), channel, feature.c_str()));
}

std::vector<std::string> SweepHost::Names(int channel)
{
    std::vector<std::string> names;
    for (int index = 0; index < kMaxListed; ++index) {
        const std::int32_t status = callbacks_.GetFeatureName(ClearedText(), channel, index, value_.Text());
        Note("GetFeatureName", TextRule::MayEndSilently, status);
        if (status != MARAVEL_SUCCESS) {
            return names;
        }
        names.emplace_back(value_.Text());
    }
    ADD_FAILURE() << "the list of features does not end";
    return names;
}

std::int32_t SweepHost::Type(int channel, const std::string& feature)
{
    std::int32_t type = FeatureTypeUnsupported;
    Note("GetFeatureType", TextRule::WithFailure,
         callbacks_.GetFeatureType(ClearedText(), channel, feature.c_str(), &type));
    return type;
}

std::vector<std::string> SweepHost::Entries(int channel, const std::string& feature)
{
    std::vector<std::string> entries;
    for (std::uint32_t index = 0; index < kMaxListed; ++index) {
        const std::int32_t status =
            callbacks_.GetValidEnum(ClearedText(), channel, feature.c_str(), index, value_.Text());
        Note("GetValidEnum", TextRule::MayEndSilently, status);
        if (status != MARAVEL_SUCCESS) {
            return entries;
        }
        entries.emplace_back(value_.Text());
    }
    ADD_FAILURE() << "the list of entries does not end";
    return entries;
}

void SweepHost::Attribute(int channel, const std::string& feature, std::uint32_t kind)
{
    Note("GetFeatureAttr", TextRule::WithFailure,
         callbacks_.GetFeatureAttr(ClearedText(), channel, feature.c_str(), kind, value_.Text()));
}

void SweepHost::Release(int channel)
{
    Note("ReleaseVideoChannel", TextRule::WithFailure,
         callbacks_.ReleaseVideoChannel(ClearedText(), channel));
}

} // namespace maravel::sweep
